/// The DHCPv6 relay: on and off, destinations, what it knows of them, and what became of the frames.
#include "dhcp/relay6.h"

#include "platform/text.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

Outcome relay_on(Session&, const Args&) {
  if (set_dhcp6_relay_start(1) == 0) return {};
  return Fault{"the DHCPv6 server is on; relay and server exclude each other"};
}

Outcome relay_off(Session&, const Args&) {
  set_dhcp6_relay_start(0);
  return {};
}

// --- Destinations

uint32_t output_of(const Args& args) { return args.size() > 1 ? args[1].number : 0; }

Fault no_room() { return {format("there are %d destinations, no more fit", DHCP6_RELAY_MAX_DESTINATIONS), 0}; }

std::vector<Dhcp6RelayDestination> destinations() {
  std::vector<Dhcp6RelayDestination> rows(DHCP6_RELAY_MAX_DESTINATIONS);
  rows.resize(dhcp6_relay_get_destinations(rows.data(), rows.size()));
  return rows;
}

bool listed(const std::array<uint8_t, 16>& ip6) {
  for (const Dhcp6RelayDestination& row : destinations())
    if (std::equal(ip6.begin(), ip6.end(), row.ip6)) return true;
  return false;
}

/// A file is loaded before the network answers: its destinations are left to the probe.
Outcome add_from_file(const Args& args) {
  Dhcp6ServerNode* const node = dhcp6_relay_find_dhcp_serverip(args[0].ip6.data(), 1, nullptr, 0);
  if (node != nullptr) node->out_intf = output_of(args);
  return node != nullptr || listed(args[0].ip6) ? Outcome{} : no_room();
}

Outcome add_destination(Session& session, const Args& args) {
  if (args[0].ip6[0] == 0xff) return Fault{"not the address of one server", 0};
  if (session.from_file()) return add_from_file(args);
  const bool known = listed(args[0].ip6);
  if (dhcp6_relay_set_dhcp_serverip(1, args[0].ip6.data(), output_of(args)) == 0) return {};
  if (known) return Fault{"this destination is on the list already, and does not answer now", 0};
  return no_room();
}

Outcome remove_destination(Session&, const Args& args) {
  if (!listed(args[0].ip6)) return Fault{"this destination is not on the list", 0};
  dhcp6_relay_set_dhcp_serverip(0, args[0].ip6.data(), 0);
  return {};
}

// --- Readouts

Outcome show_destinations(Readout& out, const Args&) {
  const auto right = Align::right;
  Table table({{"destination", "Destination"},
               {"next_hop_mac", "Next hop"},
               {"vlan", "VLAN", right},
               {"port", "Out of"},
               {"state", "State"},
               {"age", "Age, s", right},
               {"requests", "Requests", right},
               {"replies", "Replies", right}});
  for (const Dhcp6RelayDestination& row : destinations()) {
    const bool known = row.state == DHCP6_RELAY_VALID;
    table.add({ip6_text(row.ip6), known ? Cell(mac_text(row.mac)) : none(), row.vlan != 0 ? Cell(row.vlan) : none(),
               row.out_intf != 0 ? Cell(str_intf_id(row.out_intf)) : none(), dhcp6_relay_state_name(row.state),
               known ? Cell(row.age) : none(), row.requests, row.replies});
  }
  out.add(table);
  return {};
}

Outcome show_statistics(Readout& out, const Args&) {
  Dhcp6RelayCounters counters{};
  dhcp6_relay_get_counters(&counters);
  Table table({{"fate", "Fate"}, {"frames", "Frames", Align::right}});
  for (int verdict = 0; verdict < DHCP6_RELAY_VERDICTS; ++verdict)
    table.add({dhcp6_relay_verdict_name(static_cast<Dhcp6RelayVerdict>(verdict)), counters.verdicts[verdict]});
  out.add(table, "fates");
  out.set("unknown_destination", counters.unknown_destination);
  out.set("clients", counters.clients);
  out.say(format("\n%u of them to a MAC that the switch does not know\n", counters.unknown_destination));
  out.say(format("%u of %d clients in use\n", counters.clients, DHCP6_RELAY_CLIENTS));
  return {};
}

Json relay() {
  int on = 0;
  get_dhcp6_relay_start(&on);
  Json rows = Json::array();
  for (const Dhcp6RelayDestination& row : destinations())
    rows.push_back(Json::object({{"destination", ip6_text(row.ip6)},
                                 {"port", row.out_intf != 0 ? Json(str_intf_id(row.out_intf)) : Json()},
                                 {"valid", row.state != DHCP6_RELAY_PROBING}}));
  return Json::object({{"enabled", on != 0}, {"destinations", rows}});
}

Outcome clear_statistics(Session&, const Args&) {
  dhcp6_relay_clear_counters();
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes configure = in(Mode::configure);

constexpr Command rows[] = {
    {exec, "show ipv6 dhcp relay", "State of the DHCPv6 relay and its destinations",
     show_readout<show_dhcp6_relay_info, relay>, "show ipv6 dhcp relay"},
    {exec, "show ipv6 dhcp relay destination", "Destinations, their next hops, what they were asked and answered",
     show_destinations, "show ipv6 dhcp relay destination"},
    {exec, "show ipv6 dhcp relay statistics", "What became of the frames", show_statistics,
     "show ipv6 dhcp relay statistics"},
    {exec, "clear ipv6 dhcp relay statistics", "Begin counting again", clear_statistics,
     "clear ipv6 dhcp relay statistics"},
    {configure, "ipv6 dhcp relay destination ADDRESS6 [interface gigabitethernet PORT]",
     "Server that gets the clients' messages, up to 11", add_destination,
     "ipv6 dhcp relay destination 2001:db8:99::547 interface gigabitethernet 2",
     "ipv6 dhcp relay destination ADDRESS6 [interface gigabitethernet PORT]", remove_destination},
    {configure, "service dhcpv6-relay", "Turn the DHCPv6 relay on", relay_on, "service dhcpv6-relay"},
    // A row of its own, so that the reference's lines turn the relay off before they turn the server on.
    {configure, "no service dhcpv6-relay", "Turn the DHCPv6 relay off", relay_off, "no service dhcpv6-relay"},
};

}  // namespace

std::span<const Command> relay6_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
