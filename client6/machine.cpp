/// The machine of one interface: what a second in each state does, and when the state ends by the clock.
#include "base/log.h"
#include "base/os.h"
#include "base/text.h"
#include "client6/client6.h"
#include "platform/sysmng.h"

namespace dhcp::client6 {

namespace {

constexpr int32_t longest_pause_s = 61;  // a pause that has grown this long begins again at the shortest
constexpr int32_t renewals = 2;          // messages sent in RENEW, and again in REBIND

/// Every message of a burst makes the pause behind it a second longer.
int32_t longer_pause(int32_t pause) {
  const int32_t longer = pause + 1;
  return longer < gtimeout || longer >= longest_pause_s ? gtimeout : longer;
}

/// Bursts of SOLICITs, a second apart under one transaction id, with a growing pause between the bursts.
void look_for_server(Dhcp6cInterfaceNode& node) {
  DHCP_LOG(base::module_frame, "dhcpc", "DHCPC6_INIT");
  const bool burst_over = discover_retries != 0 && node.tries >= discover_retries;
  if (burst_over || node.ticks < node.timeout) {
    node.timeout = node.backoff;
    node.tries = 0;
    return;
  }
  if (node.tries == 0) node.xid = new_transaction();
  node.ticks = node.timeout = 0;
  node.backoff = longer_pause(node.backoff);
  dhcp6c_send_discover(&node);
  ++node.tries;
  node.requesting = 0;
}

/// The SOLICITs of the exchange count: an ADVERTISE after the last of them is not taken up any more.
void ask_for_address(Dhcp6cInterfaceNode& node) {
  DHCP_LOG(base::module_frame, "dhcpc", "enter DHCPC6_REQUESTING");
  node.requesting = 1;
  if (node.tries >= discover_retries) return begin_anew(node);
  node.ticks = node.timeout = 0;
  dhcp6c_send_select(&node);
  ++node.tries;
}

/// False when the device does not take the address, or the server has given none.
bool put_on_interface(const Dhcp6cInterfaceNode& node) {
  if (node.address == nullptr) return false;
  const base::Ip6Text address(base::Ip6::from(node.address));
  DHCP_LOG_FROM(__func__, __LINE__, 6, base::module_frame, "dhcpc", "DHCPv6 client obtain ipv6 address:%s/%d\n",
                address.c_str(), node.prefix_len);
  DHCP_LOG_FROM(__func__, __LINE__, 6, base::module_frame, "dhcpc",
                "DHCPv6 client obtain ipv6 address valid lifetime:%u\n", node.valid_lifetime);
  char text[80];
  snprintf(text, sizeof text, "%s/%d", address.c_str(), node.prefix_len);
  return sysmng_vlan_static_ip6addr(node.vlan, text, 1) == 0;
}

void settle(Dhcp6cInterfaceNode& node) {
  DHCP_LOG(base::module_frame, "dhcpc", "enter DHCPC6_BOUND\n");
  if (node.installed != 0) return;
  node.installed = 1;
  node.bound_time = base::now32();
  if (!put_on_interface(node)) {
    DHCP_LOG(base::module_frame, "dhcpc", "ip6addr setting failed!\n");
    node.state = DHCPC6_RELEASE;
  }
  DHCP_LOG(base::module_frame, "dhcpc", "DHCPv6 obain ipv6 address success\n");
}

/// A few messages, one a second; then the state only waits for its end.
void prolong(Dhcp6cInterfaceNode& node, int rebind, int32_t& done) {
  if (done != 0) return;
  if (node.ticks < renewals) dhcp6c_send_renew(&node, rebind);
  if (++node.ticks > renewals) done = 1;
}

void give_up(Dhcp6cInterfaceNode& node) {
  dhcp6c_send_release(&node);
  sysmng_vlan_static_ip6addr(node.vlan, nullptr, 0);
  keep(node.address, nullptr);
  node.installed = 0;
}

void act(Dhcp6cInterfaceNode& node) {
  switch (node.state) {
    case DHCPC6_INIT: return look_for_server(node);
    case DHCPC6_REQUESTING: return ask_for_address(node);
    case DHCPC6_BOUND: return settle(node);
    case DHCPC6_RENEW: return prolong(node, 0, node.renew_done);
    case DHCPC6_REBIND: return prolong(node, 1, node.rebind_done);
    case DHCPC6_RELEASE: give_up(node); [[fallthrough]];
    case DHCPC6_RESTART: return begin_anew(node);
    default: return;
  }
}

/// A clock that was set back has let nothing pass; a time of 0 never comes.
bool passed(const Dhcp6cInterfaceNode& node, uint32_t seconds) {
  const auto since = static_cast<int32_t>(base::now32() - node.bound_time);
  return seconds != 0 && since >= 0 && static_cast<uint32_t>(since) > seconds;
}

bool holds_address(const Dhcp6cInterfaceNode& node) {
  return node.state == DHCPC6_BOUND || node.state == DHCPC6_RENEW || node.state == DHCPC6_REBIND;
}

void move_to(Dhcp6cInterfaceNode& node, Dhcp6cState state, int32_t& done) {
  node.state = state;
  node.ticks = 0;
  done = 0;
}

}  // namespace

bool step(Dhcp6cInterfaceNode& node) {
  act(node);
  if (holds_address(node) && passed(node, node.valid_lifetime)) {
    DHCP_LOG_FROM(__func__, __LINE__, 6, base::module_frame, "dhcpc",
                  "dhcp client ,valid lifetime timeout, release the ipv6 address\n");
    node.state = DHCPC6_RELEASE;
    return false;
  }
  if (node.state == DHCPC6_BOUND && passed(node, node.t1)) {
    move_to(node, DHCPC6_RENEW, node.renew_done);
  } else if (node.state == DHCPC6_RENEW && passed(node, node.t2)) {
    move_to(node, DHCPC6_REBIND, node.rebind_done);
  } else if (node.state == DHCPC6_INIT && node.tries == 0 && node.requesting == 0) {
    ++node.ticks;
  }
  return true;
}

}  // namespace dhcp::client6
