/// The IPv4 relay as it is configured: its mode, helper addresses, option 82, and where requests leave that are not
/// routed to a helper.
#include "dhcp/relay.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int no_memory = -1, list_full = -2, listed_already = -3, other_mode = -4;
constexpr uint32_t default_route_port = 24;
constexpr int own_tag = 2;  // the tag mode that has a VLAN of its own

int status() {
  int now = DHCPR_OFF;
  DHCPR_get_sts(&now);
  return now;
}

// --- The service

template <int wanted>
Outcome turn_on(Session&, const Args&) {
  if (DHCPR_start(wanted) == 0) return {};
  return Fault{"the DHCP server is on; relay and server exclude each other"};
}
Outcome turn_off(Session&, const Args&) {
  DHCPR_stop();
  return {};
}

// --- Helper addresses

Outcome helper_outcome(int result) {
  switch (result) {
    case 0: return {};
    case list_full: return Fault{format("there are %d helper addresses, no more fit", DHCPR_MAX_HELPERS), 0};
    case listed_already: return Fault{"this helper is on the list already, and does not answer now", 0};
    case other_mode: return Fault{"helper addresses need service dhcp-relay management-vlan"};
    case no_memory:
    default: return Fault{"out of memory"};
  }
}

/// The switch waits for answers as long as helpers do answer; behind the first silent one they are left to the probe.
Outcome add_from_file(Session& session, uint32_t ip) {
  if (status() != DHCPR_ON_MANAGEMENT_VLAN) return helper_outcome(other_mode);
  int error = 0;
  if (DHCPR_find_dhcp_serverip(ip, 1, nullptr, 0, &error) == nullptr && error != listed_already)
    return helper_outcome(list_full);
  if (session.waits() && DHCPR_set_dhcp_serverip(1, ip) != 0) session.wait_no_more();
  return {};
}

Outcome add_helper(Session& session, const Args& args) {
  const uint32_t ip = args[0].number;
  constexpr uint32_t first_group = 0xe0000000;
  if (ip == 0 || ip >= first_group) return Fault{"not the address of a server", 0};
  if (session.from_file()) return add_from_file(session, ip);
  return helper_outcome(DHCPR_set_dhcp_serverip(1, ip));
}

Outcome remove_helper(Session&, const Args& args) {
  if (status() == DHCPR_ON_MANAGEMENT_VLAN) {
    int error = 0;
    DHCPR_find_dhcp_serverip(args[0].number, 0, nullptr, 0, &error);
    if (error != 0) return Fault{"this helper is not on the list", 0};
  }
  return helper_outcome(DHCPR_set_dhcp_serverip(0, args[0].number));
}

// --- Option 82

template <int (*set)(int), int on>
Outcome option_switch(Session&, const Args&) {
  set(on);
  return {};
}

// --- The route port

/// In management-VLAN mode the module would take these settings without a word, and leave them as they are.
Outcome without_route_port() {
  return Fault{"management-VLAN mode has no route port; type no service dhcp-relay first"};
}

Outcome set_port(uint32_t port) {
  if (status() == DHCPR_ON_MANAGEMENT_VLAN) return without_route_port();
  DHCPR_set_route_port(static_cast<int>(port));
  return {};
}
Outcome route_port(Session&, const Args& args) { return set_port(args[0].number); }
Outcome no_route_port(Session&, const Args&) { return set_port(default_route_port); }

Outcome set_vlan(int tag, int vlan) {
  if (status() == DHCPR_ON_MANAGEMENT_VLAN) return without_route_port();
  if (tag == own_tag && vlan == 0) return Fault{"tag mode 2 needs a VLAN"};
  if (DHCPR_set_route_vlan(tag, vlan) == 0) return {};
  return Fault{format("there is no VLAN %d", vlan), 1};
}
Outcome route_vlan(Session&, const Args& args) {
  return set_vlan(static_cast<int>(args[0].number), args.size() > 1 ? static_cast<int>(args[1].number) : 0);
}
Outcome no_route_vlan(Session&, const Args&) { return set_vlan(0, 0); }

Outcome clear_statistics(Session&, const Args&) {
  dhcp_relay_clear_counters();
  return {};
}

constexpr Modes configure = in(Mode::configure);
constexpr int with_relay_on = 1;  // the round of examples in which the server is off

constexpr Command rows[] = {
    {in(Mode::exec), "clear ip dhcp relay statistics", "Begin counting again", clear_statistics,
     "clear ip dhcp relay statistics"},
    {configure, "ip dhcp relay information trust", "Keep option 82 that a client brings (default), or replace it",
     option_switch<DHCPR_set_trust, 1>, "ip dhcp relay information trust", "ip dhcp relay information trust",
     option_switch<DHCPR_set_trust, 0>},
    {configure, "ip dhcp relay information option", "Add option 82 where a client brings none (default)",
     option_switch<DHCPR_set_dhcp_option82_switch, 1>, "ip dhcp relay information option",
     "ip dhcp relay information option", option_switch<DHCPR_set_dhcp_option82_switch, 0>},
    {configure, "ip dhcp relay route-port PORT", "Port out of which requests leave that are not routed (24)",
     route_port, "ip dhcp relay route-port 2", "ip dhcp relay route-port [PORT]", no_route_port},
    {configure, "ip dhcp relay route-vlan TAG [ROUTEVLAN]",
     "Their tag: 0 = the client's VLAN (default), 1 = routed to helpers alone, 2 = this VLAN", route_vlan,
     "ip dhcp relay route-vlan 2 10", "ip dhcp relay route-vlan [TAG [ROUTEVLAN]]", no_route_vlan},
    {configure, "service dhcp-relay", "Turn the relay on; requests leave by the route port", turn_on<DHCPR_ON>,
     "service dhcp-relay", "service dhcp-relay [management-vlan]", turn_off, with_relay_on},
    {configure,
     "service dhcp-relay management-vlan",
     "Turn the relay on and route requests to the helper addresses",
     turn_on<DHCPR_ON_MANAGEMENT_VLAN>,
     "service dhcp-relay management-vlan",
     {},
     nullptr,
     with_relay_on},
    {configure, "ip helper-address ADDRESS", "Server that gets the clients' requests, up to 10", add_helper,
     "ip helper-address 192.0.2.67", "ip helper-address ADDRESS", remove_helper, with_relay_on},
};

}  // namespace

std::span<const Command> relay_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
