/// The switch as a DHCPv6 client: which of its interfaces get their address so, and what they have been given.
#include <algorithm>

#include "dhcp/counters.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/records.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {

std::vector<Dhcp6cInterface> client6_interfaces() {
  auto interfaces = all_records(dhcp6c_get_interfaces);
  std::sort(interfaces.begin(), interfaces.end(), [](const auto& a, const auto& b) { return a.vlan < b.vlan; });
  return interfaces;
}

bool by_dhcp6(uint16_t vlan) {
  const auto interfaces = client6_interfaces();
  return std::any_of(interfaces.begin(), interfaces.end(),
                     [=](const auto& row) { return row.vlan == vlan && row.mode == DHCP6C_MODE_DHCPV6; });
}

namespace {

Outcome renew(Session&, const Args& args) {
  if (dhcp6c_manual_set_renew_state(args[0].number) == 0) return {};
  return Fault{"this interface does not get its address by DHCPv6", 0};
}

/// A leased address takes the place of a configured one.
Outcome lease_address(Session& session, const Args&) {
  const auto vlan = static_cast<uint16_t>(session.target());
  if (const Refusal why = switch_control().set_ip6(vlan, "")) return outcome(why);
  if (dhcp6c_set_interface_ip6_mode(vlan, DHCP6C_MODE_DHCPV6) == 0) return {};
  return Fault{"out of memory"};
}

Outcome no_lease(Session& session, const Args&) {
  dhcp6c_set_interface_ip6_mode(session.target(), DHCP6C_MODE_STATIC);
  return {};
}

// --- Readouts

Cell span_of(uint32_t seconds) {
  return {seconds, seconds == infinite_time ? "infinite" : std::to_string(seconds) + " s"};
}

Cell in_time(uint32_t seconds) {
  if (seconds == infinite_time) return {seconds, "never"};
  return {seconds, seconds == 0 ? "now" : "in " + std::to_string(seconds) + " s"};
}

void add_server(Settings& settings, const Dhcp6cInterface& row) {
  const bool known = row.server_duid_len != 0;
  const char* const label = known ? "Server" : "";
  settings.row("", label, ip6_text(row.server_ip6) + ", MAC " + mac_text(row.server_mac));
  settings.set("server", known ? Json(ip6_text(row.server_ip6)) : Json());
  settings.set("server_mac", known ? Json(mac_text(row.server_mac)) : Json());
  settings.row("server_duid", known ? "Server's DUID" : "",
               word_or_none(hexadecimal({row.server_duid, row.server_duid_len})));
  Json dns = Json::array();
  for (int i = 0; i < row.dns_count; ++i) {
    settings.row("", known ? "DNS server" : "", ip6_text(row.dns[i]));
    dns.push_back(ip6_text(row.dns[i]));
  }
  settings.set("dns_servers", dns);
}

/// What is known of the lease; a row that does not apply now is null for programs and left out for people.
void add_lease(Settings& settings, const Dhcp6cInterface& row) {
  const auto row_if = [&](bool applies, const char* key, const char* label, const Cell& cell) {
    settings.row(key, applies ? label : "", applies ? cell : none());
  };
  const bool leased = row.has_address != 0, installed = leased && row.installed != 0;
  const std::string address = ip6_text(row.address) + format("/%u", row.prefix_len);
  row_if(leased, "address", "Address", {address, installed ? address : address + ", offered"});
  settings.set("installed", installed);
  row_if(leased, "preferred_lifetime", "Preferred lifetime", span_of(row.preferred_lifetime));
  row_if(leased, "valid_lifetime", "Valid lifetime",
         span_of(row.valid_lifetime == 0 ? infinite_time : row.valid_lifetime));
  row_if(leased, "", "T1, T2", span_of(row.t1).text + ", " + span_of(row.t2).text);
  row_if(leased, "t1", "", row.t1);
  row_if(leased, "t2", "", row.t2);
  const bool bound = installed && row.state == DHCPC6_BOUND;
  row_if(bound, "renews_in", "Renews", in_time(row.renew_in));
  row_if(bound || (installed && row.state == DHCPC6_RENEW), "rebinds_in", "Rebinds", in_time(row.rebind_in));
  row_if(installed, "expires_in", "Expires", in_time(row.expires_in));
}

Outcome show_interfaces(Readout& out, const Args&) {
  std::vector<Settings> list;
  for (const Dhcp6cInterface& row : client6_interfaces()) {
    Settings settings(20, "  ");
    settings.say(format("vlan %u is %s\n", row.vlan, dhcp6c_state_name(row.state)));
    settings.set("vlan", row.vlan);
    settings.set("state", dhcp6c_state_name(row.state));
    settings.row("iaid", "IAID", row.iaid);
    add_lease(settings, row);
    add_server(settings, row);
    list.push_back(std::move(settings));
  }
  out.add(list);
  return {};
}

Outcome show_statistics(Readout& out, const Args&) {
  constexpr int sent_types[] = {1, 3, 5, 6, 8};
  Dhcp6cCounters counters{};
  dhcp6c_get_counters(&counters);
  Table table({{"what", "Received or sent"}, {"messages", "Messages", Align::right}});
  for (int verdict = 0; verdict < DHCP6C_VERDICTS; ++verdict)
    table.add({dhcp6c_verdict_name(static_cast<Dhcp6cVerdict>(verdict)), counters.received[verdict]});
  for (const int type : sent_types)
    table.add({format("%s sent", dhcp_message_type_name(DHCP_SERVICE_CLIENT6, type)), counters.sent[type]});
  table.add({"not sent", counters.not_sent});
  out.add(table);
  return {};
}

Outcome clear_statistics(Session&, const Args&) {
  dhcp6c_clear_counters();
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ipv6 dhcp interface", "Own interfaces that get their address by DHCPv6", show_interfaces,
     "show ipv6 dhcp interface"},
    {exec, "show ipv6 dhcp client statistics", "What the switch asked for as a client, and what became of the answers",
     show_statistics, "show ipv6 dhcp client statistics"},
    {exec, "clear ipv6 dhcp client statistics", "Begin counting again", clear_statistics,
     "clear ipv6 dhcp client statistics"},
    {in(Mode::vlan_interface), "ipv6 address dhcp", "Get the IPv6 address from a DHCPv6 server", lease_address,
     "ipv6 address dhcp", "ipv6 address dhcp", no_lease},
    {exec, "renew ipv6 dhcp interface vlan VLAN", "Look for a server anew", renew, ""},
};

}  // namespace

std::span<const Command> client6_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
