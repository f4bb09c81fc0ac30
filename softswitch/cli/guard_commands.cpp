/// IP source guard for IPv4 and IPv6, ARP checking and the hosts of IGMP snooping: switches, readouts, clearing.
#include "dhcp/snooping.h"
#include "platform/text.h"
#include "softswitch/cli/readout.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

// --- Switches

template <Refusal (SwitchControl::*set)(uint32_t, bool), bool on>
Outcome source_guard(Session& session, const Args&) {
  return outcome((switch_control().*set)(session.target(), on));
}

/// The list takes entries of checked ports only, so the port is marked before snooping is asked for its clients.
Outcome arp_check_on(Session& session, const Args&) {
  if (const Refusal why = switch_control().set_arp_check(session.target(), true)) return Fault{*why};
  dhcp_snooping_snyc_add_to_arp_check();
  return {};
}

Outcome arp_check_off(Session& session, const Args&) {
  dhcp_snooping_snyc_del_arp_check(static_cast<int>(session.target()));
  return outcome(switch_control().set_arp_check(session.target(), false));
}

// --- Readouts

/// The ports on which the guard is on, with what it has seen.
Table counters(GuardKind kind, bool PortConfig::*on) {
  const auto right = Align::right;
  const bool arp = kind == GuardKind::arp;
  Table table({{"port", "Port"},
               {"passed", "Passed", right},
               {"dropped", "Dropped", right},
               {"unknown_address", "Unknown address", right},
               {"other_mac", "Other MAC", right},
               {arp ? "other_sender" : "other_vlan", arp ? "Other sender" : "Other VLAN", right},
               {"malformed", "Malformed", right}});
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    if (!(switch_control().port(port).config.*on)) continue;
    const GuardCounters::Counts counts = switch_control().guard_counters(port).of(kind);
    uint64_t dropped = 0;
    for (const uint64_t count : counts.dropped) dropped += count;
    const auto of = [&](GuardDrop reason) { return counts.dropped[static_cast<size_t>(reason)]; };
    table.add({str_intf_id(port), counts.passed, dropped, of(GuardDrop::unknown), of(GuardDrop::other_mac),
               of(arp ? GuardDrop::other_sender : GuardDrop::other_vlan), of(GuardDrop::malformed)});
  }
  return table;
}

std::string address_text(const KnownHost& host) { return dotted(host.ip); }
std::string address_text(const KnownHost6& host) { return ip6_text(host.ip6.data()); }

/// Hosts with their VLAN and lease; those on ports for which `shown` says no are left out.
template <class Host, class Shown>
Table hosts_table(const char* address_key, const char* address_title, const std::vector<Host>& hosts, Shown shown) {
  Table table({{"port", "Port"},
               {address_key, address_title},
               {"mac", "MAC address"},
               {"vlan", "VLAN", Align::right},
               {"lease", "Lease, s", Align::right}});
  for (const Host& host : hosts) {
    if (!shown(host.intf)) continue;
    table.add({str_intf_id(host.intf), address_text(host), mac_text(host.mac.data()), host.vlan, lifetime(host.lease)});
  }
  return table;
}

bool on_port(uint32_t intf, bool PortConfig::*guarded) { return switch_control().port(intf).config.*guarded; }

Outcome show_source_guard(Readout& out, const Args&) {
  out.add(counters(GuardKind::source, &PortConfig::source_guard), "ports");
  out.say("\n");
  out.add(hosts_table("ip", "IP address", switch_control().hosts(HostList::source_guard),
                      [](uint32_t intf) { return on_port(intf, &PortConfig::source_guard); }),
          "hosts");
  return {};
}

Outcome show_source_guard6(Readout& out, const Args&) {
  out.add(counters(GuardKind::source6, &PortConfig::source_guard6), "ports");
  out.say("\n");
  out.add(hosts_table("ipv6", "IPv6 address", switch_control().hosts6(),
                      [](uint32_t intf) { return on_port(intf, &PortConfig::source_guard6); }),
          "hosts");
  return {};
}

Outcome show_arp_check(Readout& out, const Args&) {
  out.add(counters(GuardKind::arp, &PortConfig::arp_check), "ports");
  Table table({{"port", "Port"}, {"ip", "IP address"}, {"mac", "MAC address"}, {"entry", "Entry"}, {"from", "From"}});
  const auto add = [&](HostList list, const char* kind) {
    for (const KnownHost& host : switch_control().hosts(list))
      table.add({str_intf_id(host.intf), dotted(host.ip), mac_text(host.mac.data()), kind,
                 host.type == 2 ? "dhcp snooping" : std::to_string(host.type)});
  };
  add(HostList::arp_check, "checked");
  add(HostList::fixed_arp, "fixed");
  out.say("\n");
  out.add(table, "hosts");
  return {};
}

/// IGMP snooping is told of all clients when it asks, and of none before.
Outcome show_igmp_hosts(Readout& out, const Args&) {
  switch_control().forget_hosts(HostList::igmp);
  dhcp_snooping_snyc_add_to_igsp();
  out.add(hosts_table("ip", "IP address", switch_control().hosts(HostList::igmp), [](uint32_t) { return true; }));
  return {};
}

// --- Clearing

template <GuardKind kind>
Outcome clear_counters(Session&, const Args&) {
  switch_control().clear_guard_counters(kind);
  return {};
}

/// Entries stay when their binding goes; this leaves those that a binding stands behind.
Outcome clear_arp_entries(Session&, const Args&) {
  switch_control().forget_hosts(HostList::arp_check);
  dhcp_snooping_snyc_add_to_arp_check();
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes port = in(Mode::port);

constexpr Command rows[] = {
    {exec, "show ip verify source", "Guarded ports, the hosts that may send, and what was dropped", show_source_guard,
     "show ip verify source"},
    {exec, "show ipv6 verify source", "Guarded ports, the hosts that may send IPv6, and what was dropped",
     show_source_guard6, "show ipv6 verify source"},
    {exec, "show ip arp inspection", "Checked ports, the hosts that may speak for themselves, and what was dropped",
     show_arp_check, "show ip arp inspection"},
    {exec, "show ip igmp snooping hosts", "Hosts that IGMP snooping is told of", show_igmp_hosts,
     "show ip igmp snooping hosts"},
    {exec, "clear ip verify source statistics", "Begin counting again", clear_counters<GuardKind::source>,
     "clear ip verify source statistics"},
    {exec, "clear ipv6 verify source statistics", "Begin counting again", clear_counters<GuardKind::source6>,
     "clear ipv6 verify source statistics"},
    {exec, "clear ip arp inspection statistics", "Begin counting again", clear_counters<GuardKind::arp>,
     "clear ip arp inspection statistics"},
    {exec, "clear ip arp inspection entries", "Forget hosts whose binding has gone", clear_arp_entries,
     "clear ip arp inspection entries"},
    {port, "ip verify source", "Drop IPv4 frames but those of clients bound to this port",
     source_guard<&SwitchControl::set_source_guard, true>, "ip verify source", "ip verify source",
     source_guard<&SwitchControl::set_source_guard, false>},
    {port, "ipv6 verify source", "Drop IPv6 frames but those of clients bound to this port",
     source_guard<&SwitchControl::set_source_guard6, true>, "ipv6 verify source", "ipv6 verify source",
     source_guard<&SwitchControl::set_source_guard6, false>},
    {port, "ip arp inspection", "Drop ARP but that of clients bound to this port", arp_check_on, "ip arp inspection",
     "ip arp inspection", arp_check_off},
};

}  // namespace

std::span<const Command> guard_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
