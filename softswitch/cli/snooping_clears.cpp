/// Clearing what snooping knows: bindings by any combination of address, MAC, VLAN and port, and counters.
#include <utility>

#include "softswitch/cli/session.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

enum Key : unsigned { none = 0, ip = 1, mac = 2, vlan = 4, intf = 8 };

/// What counts, by the module's number for it. Two numbers have the port alone; the second leaves static clients be.
constexpr unsigned keys_of[] = {none,
                                ip,
                                ip | mac,
                                ip | mac | intf,
                                ip | mac | vlan,
                                ip | mac | vlan | intf,
                                ip | intf,
                                ip | vlan,
                                ip | vlan | intf,
                                mac,
                                mac | intf,
                                mac | vlan,
                                mac | vlan | intf,
                                intf,
                                intf,
                                vlan,
                                vlan | intf};
constexpr size_t all = 0, first_with_keys = 1, dynamic_of_port = 14, first_behind_it = 15;

/// The values stand in the order of the keys.
template <class Family, size_t type>
Outcome clear(Session&, const Args& args) {
  static const Value no_value;
  size_t next = 0;
  const auto take = [&](Key key) -> const Value& { return (keys_of[type] & key) != 0 ? args[next++] : no_value; };
  const Value &by_ip = take(ip), &by_mac = take(mac), &by_vlan = take(vlan), &by_intf = take(intf);
  Family::clear(static_cast<int>(type), by_ip, by_mac.mac.data(), static_cast<int>(by_vlan.number), by_intf.number);
  Family::changed();
  return {};
}

template <class Family>
Outcome clear_statistics(Session&, const Args& args) {
  Family::clear_statistics(args.empty() ? 0 : args[0].number);
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr std::string_view likewise = "Likewise", agreeing = "Forget clients that agree with all that is named";

std::string_view help_of(size_t type) {
  if (type == all) return "Forget every client, static ones too";
  if (type == dynamic_of_port) return "Forget the clients of a port, but for static ones";
  return type == first_with_keys || type == first_behind_it ? agreeing : likewise;
}

/// "clear ip dhcp snooping binding" and what counts, in the order of the keys.
std::string_view line_of(size_t type, std::string_view by_ip, std::string_view by_mac, std::string_view by_vlan,
                         std::string_view by_port) {
  std::string line = "clear % dhcp snooping binding";
  const auto add = [&](Key key, std::string_view words) {
    if ((keys_of[type] & key) != 0) line.append(" ").append(words);
  };
  if (type == all) line += " *";
  if (type == dynamic_of_port) line += " dynamic";
  add(ip, by_ip);
  add(mac, by_mac);
  add(vlan, by_vlan);
  add(intf, by_port);
  return kept(std::move(line));
}

template <class Family, size_t type>
Command row() {
  return {exec, line_of(type, Family::address_form, "mac MAC", "vlan VLAN", "interface gigabitethernet PORT"),
          help_of(type), clear<Family, type>,
          line_of(type, Family::address_example, "mac 02:00:00:00:00:51", "vlan 10", "interface gigabitethernet 1")};
}

template <class Family, size_t... types>
std::vector<Command> rows(std::index_sequence<types...>) {
  return spelt(
      {row<Family, types>()...,
       {exec, "clear % dhcp snooping statistics", "Begin counting again", clear_statistics<Family>,
        "clear % dhcp snooping statistics"},
       {exec, "clear % dhcp snooping statistics interface gigabitethernet PORT", "Begin counting again on one port",
        clear_statistics<Family>, "clear % dhcp snooping statistics interface gigabitethernet 1"}},
      Family::words);
}

template <class Family>
std::span<const Command> rows() {
  static const std::vector<Command> all_rows = rows<Family>(std::make_index_sequence<std::size(keys_of)>());
  return all_rows;
}

}  // namespace

std::span<const Command> snooping_clears() { return rows<Snooping4>(); }
std::span<const Command> snooping6_clears() { return rows<Snooping6>(); }

}  // namespace dhcp::softswitch::cli
