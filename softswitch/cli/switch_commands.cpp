/// The switch's name, ports, VLANs, VLAN interfaces and the forwarding table.
#include <net/if.h>

#include <algorithm>
#include <cctype>

#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr uint16_t default_vlan = 1;
constexpr uint32_t default_aging_time_s = 300;

uint16_t vlan_of(const Value& value) { return static_cast<uint16_t>(value.number); }
uint16_t target_vlan(const Session& session) { return static_cast<uint16_t>(session.target()); }

/// Under the given value, unless all is well.
Outcome blame(int arg, const Refusal& refusal) {
  if (!refusal) return {};
  return Fault{*refusal, arg};
}

// --- Name

Outcome set_name(Session&, const Args& args) {
  const std::string& name = args[0].text;
  const bool good = std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.';
  });
  if (!good) return Fault{"a host name has letters, digits, '-', '_' and '.' only", 0};
  set_hostname(name);
  return {};
}

Outcome default_name(Session&, const Args&) {
  set_hostname("");
  return {};
}

// --- VLANs and the forwarding table

Outcome for_each_vlan(const Args& args, Refusal (SwitchControl::*change)(uint16_t)) {
  if (args[0].vlans.empty()) return Fault{"name the VLANs", 0};
  for (const uint16_t vlan : args[0].vlans) {
    if (auto bad = blame(0, (switch_control().*change)(vlan))) return bad;
  }
  return {};
}

Outcome create_vlans(Session&, const Args& args) { return for_each_vlan(args, &SwitchControl::create_vlan); }

/// A VLAN that is snooped, or that tags relayed requests, stays: its line in the saved configuration would be refused
/// when it is loaded.
Outcome delete_vlans(Session&, const Args& args) {
  const auto snooped = [](const uint8_t* vlans, uint16_t vlan) { return (vlans[vlan / 8] >> vlan % 8 & 1) != 0; };
  int tag = 0, relay_vlan = 0;
  DHCPR_get_route_vlan(&tag, &relay_vlan);
  for (const uint16_t vlan : args[0].vlans) {
    if (snooped(g_dhcp_snooping.vlan_bitmap, vlan)) return Fault{format("DHCP snooping is on in VLAN %u", vlan), 0};
    if (snooped(g_dhcp6_snooping.vlan_bitmap, vlan)) return Fault{format("DHCPv6 snooping is on in VLAN %u", vlan), 0};
    if (tag == 2 && vlan == relay_vlan) return Fault{format("the DHCP relay tags requests with VLAN %u", vlan), 0};
  }
  return for_each_vlan(args, &SwitchControl::delete_vlan);
}

Outcome aging_time(Session&, const Args& args) { return blame(0, switch_control().set_mac_aging_time(args[0].number)); }
Outcome default_aging_time(Session&, const Args&) {
  return outcome(switch_control().set_mac_aging_time(default_aging_time_s));
}

Outcome clear_mac_table(Session&, const Args&) {
  switch_control().clear_mac_table();
  return {};
}

// --- Ports

Outcome port_mode(Session& session, const Args& args) {
  session.enter(Mode::port, args[0].number);
  return {};
}

Outcome set_device(Session& session, const Args& args) {
  if (args[0].text.size() >= IF_NAMESIZE) return Fault{"an interface name has at most 15 characters", 0};
  return blame(0, switch_control().set_device(session.target(), args[0].text));
}
Outcome no_device(Session& session, const Args&) { return outcome(switch_control().set_device(session.target(), "")); }

Outcome set_description(Session& session, const Args& args) {
  return outcome(switch_control().set_description(session.target(), args[0].text));
}
Outcome no_description(Session& session, const Args&) {
  return outcome(switch_control().set_description(session.target(), ""));
}

Outcome access_vlan(Session& session, const Args& args) {
  return blame(0, switch_control().set_access_vlan(session.target(), vlan_of(args[0])));
}
Outcome default_access_vlan(Session& session, const Args&) {
  return outcome(switch_control().set_access_vlan(session.target(), default_vlan));
}

Outcome trunk(Session& session, const Args& args) {
  return blame(0, switch_control().set_trunk(session.target(), args[0].vlans));
}
/// Back to an access port, in the VLAN that it had as one.
Outcome no_trunk(Session& session, const Args&) {
  const uint16_t vlan = switch_control().port(session.target()).config.access_vlan;
  return outcome(switch_control().set_access_vlan(session.target(), vlan));
}

Outcome native_vlan(Session& session, const Args& args) {
  return blame(0, switch_control().set_native_vlan(session.target(), vlan_of(args[0])));
}
Outcome default_native_vlan(Session& session, const Args&) {
  return outcome(switch_control().set_native_vlan(session.target(), default_vlan));
}

// --- VLAN interfaces

Outcome vlan_mode(Session& session, const Args& args) {
  if (auto bad = blame(0, switch_control().create_vlan_interface(vlan_of(args[0])))) return bad;
  session.enter(Mode::vlan_interface, args[0].number);
  return {};
}
/// What the interface got from a DHCPv6 server goes with it, and so does a configured address with the other kind.
void end_lease(uint16_t vlan) {
  if (by_dhcp6(vlan)) dhcp6c_set_interface_ip6_mode(vlan, DHCP6C_MODE_STATIC);
}
Outcome no_vlan_interface(Session&, const Args& args) {
  end_lease(vlan_of(args[0]));
  return blame(0, switch_control().delete_vlan_interface(vlan_of(args[0])));
}

Outcome ip_address(Session& session, const Args& args) {
  const uint32_t address = args[0].number, mask = args[1].number, host = address & ~mask;
  constexpr uint32_t point_to_point_mask = 0xfffffffe;  // RFC 3021: both addresses are hosts
  if ((address >> 28) >= 0xe || address >> 24 == 0) return Fault{"not the address of one station", 0};
  if (mask < point_to_point_mask && (host == 0 || host == ~mask)) {
    return Fault{"this is the network's own or its broadcast address", 0};
  }
  return blame(0, switch_control().set_ip(target_vlan(session), address, mask));
}
Outcome no_ip_address(Session& session, const Args&) {
  return outcome(switch_control().set_ip(target_vlan(session), 0, 0));
}

Outcome gateway(Session& session, const Args& args) {
  return blame(0, switch_control().set_gateway(target_vlan(session), args[0].number));
}
Outcome no_gateway(Session& session, const Args&) {
  return outcome(switch_control().set_gateway(target_vlan(session), 0));
}

Outcome ipv6_address(Session& session, const Args& args) {
  end_lease(target_vlan(session));
  return blame(0, switch_control().set_ip6(target_vlan(session), args[0].text));
}
Outcome no_ipv6_address(Session& session, const Args&) {
  end_lease(target_vlan(session));
  return outcome(switch_control().set_ip6(target_vlan(session), ""));
}

Outcome ipv6_gateway(Session& session, const Args& args) {
  return blame(0, switch_control().set_gateway6(target_vlan(session), args[0].text));
}
Outcome no_ipv6_gateway(Session& session, const Args&) {
  return outcome(switch_control().set_gateway6(target_vlan(session), ""));
}

constexpr Modes port = in(Mode::port);
constexpr Modes vlan = in(Mode::vlan_interface);

constexpr Command rows[] = {
    {in(Mode::exec), "clear mac address-table", "Forget all learnt hardware addresses", clear_mac_table,
     "clear mac address-table"},
    {in(Mode::configure), "hostname NAME", "Name of the switch, shown in the prompt", set_name, "hostname lab-1",
     "hostname [NAME]", default_name},
    {in(Mode::configure), "vlan VLANS", "Create VLANs", create_vlans, "vlan 5-7,10", "vlan VLANS", delete_vlans},
    {in(Mode::configure), "mac address-table aging-time SECONDS", "Time after which an unheard address is forgotten",
     aging_time, "mac address-table aging-time 600", "mac address-table aging-time [SECONDS]", default_aging_time},
    {in(Mode::configure), "interface gigabitethernet PORT", "Configure a port", port_mode,
     "interface gigabitethernet 1"},
    {in(Mode::configure), "interface vlan VLAN", "Create a VLAN interface or configure it", vlan_mode,
     "interface vlan 10", "interface vlan VLAN", no_vlan_interface},
    {port, "description TEXT", "Describe the port", set_description, "description uplink to the hall",
     "description [TEXT]", no_description},
    {port, "device IFNAME", "Linux interface that is this port", set_device, "device veth1", "device [IFNAME]",
     no_device},
    {port, "switchport access vlan VLAN", "Make it an access port of a VLAN", access_vlan, "switchport access vlan 10",
     "switchport access vlan [VLAN]", default_access_vlan},
    {port, "switchport trunk allowed vlan VLANS", "Make it a trunk of these VLANs", trunk,
     "switchport trunk allowed vlan 5-7,10", "switchport trunk allowed vlan [VLANS]", no_trunk},
    {port, "switchport trunk native vlan VLAN", "VLAN of the trunk's untagged frames", native_vlan,
     "switchport trunk native vlan 5", "switchport trunk native vlan [VLAN]", default_native_vlan},
    {vlan, "ip address ADDRESS MASK", "Address of the switch in this VLAN", ip_address,
     "ip address 192.168.10.1 255.255.255.0", "ip address [ADDRESS MASK]", no_ip_address},
    {vlan, "ip gateway GATEWAY", "Next hop out of this VLAN", gateway, "ip gateway 192.168.10.254",
     "ip gateway [GATEWAY]", no_gateway},
    {vlan, "ipv6 address PREFIX", "IPv6 address of the switch in this VLAN", ipv6_address,
     "ipv6 address 2001:db8:10::1/64", "ipv6 address [PREFIX]", no_ipv6_address},
    {vlan, "ipv6 gateway ADDRESS6", "IPv6 next hop out of this VLAN", ipv6_gateway, "ipv6 gateway 2001:db8:10::fe",
     "ipv6 gateway [ADDRESS6]", no_ipv6_gateway},
};

}  // namespace

std::span<const Command> switch_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
