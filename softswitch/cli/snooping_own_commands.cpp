/// DHCP snooping as it is configured, where one of IPv4 and IPv6 has lines of its own.
#include "softswitch/cli/session.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

int vlan_of(const Value& value) { return static_cast<int>(value.number); }

/// Under the given value, when the module's answer is not 0.
Outcome unless(int result, const char* reason, int arg = -1) {
  if (result == 0) return {};
  return Fault{reason, arg};
}

// --- Limits, servers and clients

Outcome limit(Session&, const Args& args) {
  return unless(set_dhcp_snoop_limit(static_cast<int>(args[0].number)), "the chip does not take this limit", 0);
}
Outcome no_limit(Session&, const Args&) {
  return unless(set_dhcp_snoop_limit(0), "the chip does not give its limit up");
}

Outcome add_server(Session&, const Args& args) {
  if (args[0].number == 0) return Fault{"not the address of a server", 0};
  return unless(set_dhcp_snoop_serverip(1, args[0].number), "there are 10 servers, no more fit", 0);
}
Outcome remove_server(Session&, const Args& args) {
  return unless(set_dhcp_snoop_serverip(0, args[0].number), "this server is not on the list", 0);
}

Outcome add_server6(Session&, const Args& args) {
  const auto& address = args[0].ip6;
  if (address == decltype(args[0].ip6){} || address[0] == 0xff) return Fault{"not the address of a server", 0};
  return unless(set_dhcp6_snoop_serverip(1, address.data()), "out of memory");
}
Outcome remove_server6(Session&, const Args& args) {
  const auto& address = args[0].ip6;
  if (find_Dhcp6ServerInfo(address.data(), 0) == nullptr) return Fault{"this server is not on the list", 0};
  return unless(set_dhcp6_snoop_serverip(0, address.data()), "this server is not on the list", 0);
}

template <int on>
Outcome verify(Session&, const Args&) {
  set_dhcp_snoop_verify(on);
  return {};
}

Outcome add_verify_mac(Session&, const Args& args) {
  const int mode = static_cast<int>(args[1].number);
  return unless(set_dhcp_snoop_verify_mac(1, args[0].mac.data(), mode), "there are 10 such addresses, no more fit", 0);
}
Outcome remove_verify_mac(Session&, const Args& args) {
  return unless(set_dhcp_snoop_verify_mac(0, args[0].mac.data(), 0), "this address is not on the list", 0);
}

// --- Option 82

Outcome circuit_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_circuit_id(1, vlan_of(args[1]), vlan_of(args[0]), args[2].text.c_str()),
                "out of memory");
}
Outcome no_circuit_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_circuit_id(0, vlan_of(args[1]), 0, nullptr), "cannot be removed", 1);
}
Outcome remote_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_remote_id(1, vlan_of(args[1]), vlan_of(args[0]), args[2].text.c_str()),
                "out of memory");
}
Outcome no_remote_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_remote_id(0, vlan_of(args[1]), 0, nullptr), "cannot be removed", 1);
}
Outcome link_selection(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_ip(1, vlan_of(args[1]), args[0].number), "out of memory");
}
Outcome no_link_selection(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_ip(0, vlan_of(args[1]), 0), "cannot be removed", 1);
}

template <int (*set)(int), int on>
Outcome option82_switch(Session&, const Args&) {
  set(on);
  return {};
}

constexpr Modes configure = in(Mode::configure);

constexpr Command rows4[] = {
    {configure, "ip dhcp snooping limit PPS", "DHCP frames a second that reach the CPU", limit,
     "ip dhcp snooping limit 5000", "ip dhcp snooping limit [PPS]", no_limit},
    {configure, "ip dhcp snooping verify mac-address", "A client's frame must come from the client's own address",
     verify<1>, "ip dhcp snooping verify mac-address", "ip dhcp snooping verify mac-address", verify<0>},
    {configure, "ip dhcp snooping verify mac-address MAC mode MODE", "Exempt an address from this check (mode 0)",
     add_verify_mac, "ip dhcp snooping verify mac-address 02:00:00:00:00:61 mode 0",
     "ip dhcp snooping verify mac-address MAC [mode MODE]", remove_verify_mac},
    {configure, "ip dhcp snooping dhcpserver ADDRESS", "Server to be believed; without any, all behind trusted ports",
     add_server, "ip dhcp snooping dhcpserver 192.0.2.67", "ip dhcp snooping dhcpserver ADDRESS", remove_server},
    {configure, "ip dhcp snooping information option", "Add option 82 to clients' messages",
     option82_switch<set_dhcp_snoop_option82_switch, 1>, "ip dhcp snooping information option",
     "ip dhcp snooping information option", option82_switch<set_dhcp_snoop_option82_switch, 0>},
    {configure, "ip dhcp snooping information client_option", "Let in clients' messages that carry option 82 (default)",
     option82_switch<set_dhcp_snoop_untrust_option82_switch, 1>, "ip dhcp snooping information client_option",
     "ip dhcp snooping information client_option", option82_switch<set_dhcp_snoop_untrust_option82_switch, 0>},
    {configure, "ip dhcp information option circuitid ID fromvlan VLAN acsii-string STRING",
     "Circuit id of a VLAN in option 82", circuit_id,
     "ip dhcp information option circuitid 1 fromvlan 10 acsii-string building 7",
     "ip dhcp information option circuitid ID fromvlan VLAN [acsii-string STRING]", no_circuit_id},
    {configure, "ip dhcp information option remoteid ID fromvlan VLAN acsii-string STRING",
     "Remote id of a VLAN in option 82", remote_id,
     "ip dhcp information option remoteid 2 fromvlan 10 acsii-string access-3",
     "ip dhcp information option remoteid ID fromvlan VLAN [acsii-string STRING]", no_remote_id},
    {configure, "ip dhcp information option ip ADDRESS fromvlan VLAN", "Link address of a VLAN in option 82",
     link_selection, "ip dhcp information option ip 192.168.10.0 fromvlan 10",
     "ip dhcp information option ip ADDRESS fromvlan VLAN", no_link_selection},
};

constexpr Command rows6[] = {
    {configure, "ipv6 dhcp snooping dhcpserver ADDRESS6",
     "Server to be believed; without any, all behind trusted ports", add_server6,
     "ipv6 dhcp snooping dhcpserver fe80::67", "ipv6 dhcp snooping dhcpserver ADDRESS6", remove_server6},
};

}  // namespace

std::span<const Command> snooping4_only() { return rows4; }
std::span<const Command> snooping6_only() { return rows6; }

}  // namespace dhcp::softswitch::cli
