/// The switch as a DHCPv6 client: which of its interfaces get their address so, and what they have been given.
#include <algorithm>

#include "platform/text.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {

std::vector<Dhcp6cInterface> client6_interfaces() {
  std::vector<Dhcp6cInterface> interfaces;
  for (int count = dhcp6c_get_interfaces(nullptr, 0); static_cast<size_t>(count) > interfaces.size();) {
    interfaces.resize(static_cast<size_t>(count));
    count = dhcp6c_get_interfaces(interfaces.data(), count);
    if (static_cast<size_t>(count) < interfaces.size()) interfaces.resize(static_cast<size_t>(count));
  }
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

std::string span_of(uint32_t seconds) { return seconds == 0xffffffff ? "infinite" : std::to_string(seconds) + " s"; }

std::string in_time(uint32_t seconds) {
  if (seconds == 0xffffffff) return "never";
  return seconds == 0 ? "now" : "in " + std::to_string(seconds) + " s";
}

std::string hexadecimal(const uint8_t* bytes, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) text += format("%02x", bytes[i]);
  return text;
}

void say_row(Session& session, const char* label, const std::string& value) {
  session.say(format("  %-20s %s\n", label, value.c_str()));
}

void say_server(Session& session, const Dhcp6cInterface& row) {
  if (row.server_duid_len == 0) return;
  char mac[18];
  say_row(session, "Server", ip6_text(row.server_ip6) + ", MAC " + onu_mac2str(row.server_mac, mac));
  say_row(session, "Server's DUID", hexadecimal(row.server_duid, row.server_duid_len));
  for (int i = 0; i < row.dns_count; ++i) say_row(session, "DNS server", ip6_text(row.dns[i]));
}

void say_lease(Session& session, const Dhcp6cInterface& row) {
  if (row.has_address == 0) return;
  const char* const place = row.installed != 0 ? "" : ", offered";
  say_row(session, "Address", ip6_text(row.address) + format("/%u", row.prefix_len) + place);
  say_row(session, "Preferred lifetime", span_of(row.preferred_lifetime));
  say_row(session, "Valid lifetime", span_of(row.valid_lifetime == 0 ? 0xffffffff : row.valid_lifetime));
  say_row(session, "T1, T2", span_of(row.t1) + ", " + span_of(row.t2));
  if (row.installed == 0) return;
  if (row.state == DHCPC6_BOUND) say_row(session, "Renews", in_time(row.renew_in));
  if (row.state == DHCPC6_BOUND || row.state == DHCPC6_RENEW) say_row(session, "Rebinds", in_time(row.rebind_in));
  say_row(session, "Expires", in_time(row.expires_in));
}

Outcome show_interfaces(Session& session, const Args&) {
  for (const Dhcp6cInterface& row : client6_interfaces()) {
    session.say(format("vlan %u is %s\n", row.vlan, dhcp6c_state_name(row.state)));
    say_row(session, "IAID", std::to_string(row.iaid));
    say_lease(session, row);
    say_server(session, row);
  }
  return {};
}

Outcome show_statistics(Session& session, const Args&) {
  constexpr const char* types[] = {"", "SOLICIT", "", "REQUEST", "", "RENEW", "REBIND", "", "RELEASE"};
  Dhcp6cCounters counters{};
  dhcp6c_get_counters(&counters);
  TextTable table({{"Received or sent"}, {"Messages", Align::right}});
  for (int verdict = 0; verdict < DHCP6C_VERDICTS; ++verdict)
    table.add({dhcp6c_verdict_name(static_cast<Dhcp6cVerdict>(verdict)), std::to_string(counters.received[verdict])});
  for (size_t type = 0; type < std::size(types); ++type)
    if (*types[type] != '\0') table.add({format("%s sent", types[type]), std::to_string(counters.sent[type])});
  table.add({"not sent", std::to_string(counters.not_sent)});
  session.say(table.text());
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
