/// The interfaces as values, and texts for displays and logs.
#include <algorithm>
#include <array>
#include <cstdio>

#include "base/os.h"
#include "base/text.h"
#include "client6/client6.h"
#include "packet/kept_option6.h"
#include "platform/text.h"

namespace dhcp::client6 {

namespace {

constexpr std::array<const char*, 7> state_names{"init",      "requesting", "bound",    "renewing",
                                                 "rebinding", "restarting", "releasing"};

/// Seconds until `after` seconds have passed since the interface was bound; a clock set back counts as no time passed.
uint32_t time_left(const Dhcp6cInterfaceNode& node, uint32_t after) {
  if (after == 0 || after == forever) return forever;
  const auto since = static_cast<uint32_t>(std::max(static_cast<int32_t>(base::now32() - node.bound_time), 0));
  return since < after ? after - since : 0;
}

void tell_server(Dhcp6cInterface& out, const Dhcp6cInterfaceNode& node) {
  std::copy_n(node.server_ip6, sizeof out.server_ip6, out.server_ip6);
  std::copy_n(node.server_mac, sizeof out.server_mac, out.server_mac);
  if (node.server_id == nullptr) return;
  const auto duid = packet::kept_option6(node.server_id).value;
  const auto size = std::min(duid.size(), sizeof out.server_duid);
  out.server_duid_len = static_cast<uint16_t>(size);
  std::copy_n(duid.begin(), size, out.server_duid);
}

/// An address that a refusal has taken back stays on the interface until its lifetime ends.
void tell_lease(Dhcp6cInterface& out, const Dhcp6cInterfaceNode& node) {
  out.iaid = node.vlan;
  if (node.ia == nullptr) return;
  const auto ia = packet::kept_ia6(node.ia);
  out.iaid = ia->iaid();
  out.t1 = node.t1;
  out.t2 = node.t2;
  if (!ia->address || (node.address == nullptr && node.installed == 0)) return;
  out.has_address = 1;
  ia->address->ip.copy_to(out.address);
  out.preferred_lifetime = ia->address->preferred;
  out.valid_lifetime = node.valid_lifetime;
}

void tell_times(Dhcp6cInterface& out, const Dhcp6cInterfaceNode& node) {
  out.bound_time = node.bound_time;
  if (node.installed == 0) return;
  if (node.state == DHCPC6_BOUND) out.renew_in = time_left(node, node.t1);
  if (node.state == DHCPC6_BOUND || node.state == DHCPC6_RENEW) out.rebind_in = time_left(node, node.t2);
  out.expires_in = time_left(node, node.valid_lifetime);
}

Dhcp6cInterface value_of(const Dhcp6cInterfaceNode& node) {
  Dhcp6cInterface out{};
  out.vlan = node.vlan;
  out.mode = static_cast<uint8_t>(node.mode);
  out.state = static_cast<uint8_t>(node.state);
  out.installed = node.installed != 0 ? 1 : 0;
  out.prefix_len = node.prefix_len;
  out.tries = node.tries;
  std::copy_n(&node.dns[0][0], sizeof node.dns, &out.dns[0][0]);
  while (out.dns_count < DHCP6C_DNS_SERVERS && !base::Ip6::from(out.dns[out.dns_count]).is_zero()) ++out.dns_count;
  tell_server(out, node);
  tell_lease(out, node);
  tell_times(out, node);
  return out;
}

}  // namespace

}  // namespace dhcp::client6

using namespace dhcp;

int dhcp6c_get_interfaces(Dhcp6cInterface* out, int room) {
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  int count = 0;
  for (const Dhcp6cInterfaceNode& node : client6::nodes()) {
    if (count < room) out[count] = client6::value_of(node);
    ++count;
  }
  return count;
}

const char* dhcp6c_state_name(int state) {
  const auto index = static_cast<size_t>(state);
  return index < client6::state_names.size() ? client6::state_names[index] : "unknown";
}

char* dhcp6c_print_ipv6addr(const uint8_t ip6[16], char* text) {
  constexpr size_t room = 46;
  snprintf(text, room, "%.45s", base::Ip6Text(base::Ip6::from(ip6)).c_str());
  return text;
}

char* dhcp6c_print_mac(const uint8_t mac[6], char* text) { return onu_mac2str(mac, text); }
