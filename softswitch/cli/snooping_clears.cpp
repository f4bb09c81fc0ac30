/// Clearing what snooping knows: bindings by any combination of address, MAC, VLAN and port, and counters.
#include "dhcp/snooping.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

enum Key : unsigned { none = 0, ip = 1, mac = 2, vlan = 4, intf = 8 };

/// The values stand in the order of the keys.
template <int type, unsigned keys>
Outcome clear(Session&, const Args& args) {
  size_t next = 0;
  const auto take = [&](Key key) -> const Value* { return (keys & key) != 0 ? &args[next++] : nullptr; };
  const Value* const by_ip = take(ip);
  const Value* const by_mac = take(mac);
  const Value* const by_vlan = take(vlan);
  const Value* const by_intf = take(intf);
  const auto number = [](const Value* value) { return value == nullptr ? 0 : value->number; };
  dhcp_snooping_binding_clear(type, number(by_ip), by_mac == nullptr ? nullptr : by_mac->mac.data(),
                              static_cast<int>(number(by_vlan)), number(by_intf));
  return {};
}

Outcome clear_statistics(Session&, const Args&) {
  dhcp_snooping_statistics_clear(0);
  return {};
}
Outcome clear_port_statistics(Session&, const Args& args) {
  dhcp_snooping_statistics_clear(args[0].number);
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "clear ip dhcp snooping binding *", "Forget every client, static ones too", clear<0, none>,
     "clear ip dhcp snooping binding *"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS", "Forget clients that agree with all that is named",
     clear<1, ip>, "clear ip dhcp snooping binding ip 192.168.10.20"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS mac MAC", "Likewise", clear<2, ip | mac>,
     "clear ip dhcp snooping binding ip 192.168.10.20 mac 02:00:00:00:00:51"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS mac MAC interface gigabitethernet PORT", "Likewise",
     clear<3, ip | mac | intf>,
     "clear ip dhcp snooping binding ip 192.168.10.20 mac 02:00:00:00:00:51 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS mac MAC vlan VLAN", "Likewise", clear<4, ip | mac | vlan>,
     "clear ip dhcp snooping binding ip 192.168.10.20 mac 02:00:00:00:00:51 vlan 10"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS mac MAC vlan VLAN interface gigabitethernet PORT", "Likewise",
     clear<5, ip | mac | vlan | intf>,
     "clear ip dhcp snooping binding ip 192.168.10.20 mac 02:00:00:00:00:51 vlan 10 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS interface gigabitethernet PORT", "Likewise", clear<6, ip | intf>,
     "clear ip dhcp snooping binding ip 192.168.10.20 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS vlan VLAN", "Likewise", clear<7, ip | vlan>,
     "clear ip dhcp snooping binding ip 192.168.10.20 vlan 10"},
    {exec, "clear ip dhcp snooping binding ip ADDRESS vlan VLAN interface gigabitethernet PORT", "Likewise",
     clear<8, ip | vlan | intf>, "clear ip dhcp snooping binding ip 192.168.10.20 vlan 10 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding mac MAC", "Likewise", clear<9, mac>,
     "clear ip dhcp snooping binding mac 02:00:00:00:00:51"},
    {exec, "clear ip dhcp snooping binding mac MAC interface gigabitethernet PORT", "Likewise", clear<10, mac | intf>,
     "clear ip dhcp snooping binding mac 02:00:00:00:00:51 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding mac MAC vlan VLAN", "Likewise", clear<11, mac | vlan>,
     "clear ip dhcp snooping binding mac 02:00:00:00:00:51 vlan 10"},
    {exec, "clear ip dhcp snooping binding mac MAC vlan VLAN interface gigabitethernet PORT", "Likewise",
     clear<12, mac | vlan | intf>,
     "clear ip dhcp snooping binding mac 02:00:00:00:00:51 vlan 10 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding interface gigabitethernet PORT", "Likewise", clear<13, intf>,
     "clear ip dhcp snooping binding interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding dynamic interface gigabitethernet PORT",
     "Forget the clients of a port, but for static ones", clear<14, intf>,
     "clear ip dhcp snooping binding dynamic interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping binding vlan VLAN", "Forget clients that agree with all that is named",
     clear<15, vlan>, "clear ip dhcp snooping binding vlan 10"},
    {exec, "clear ip dhcp snooping binding vlan VLAN interface gigabitethernet PORT", "Likewise",
     clear<16, vlan | intf>, "clear ip dhcp snooping binding vlan 10 interface gigabitethernet 1"},
    {exec, "clear ip dhcp snooping statistics", "Begin counting again", clear_statistics,
     "clear ip dhcp snooping statistics"},
    {exec, "clear ip dhcp snooping statistics interface gigabitethernet PORT", "Begin counting again on one port",
     clear_port_statistics, "clear ip dhcp snooping statistics interface gigabitethernet 1"},
};

}  // namespace

std::span<const Command> snooping_clears() { return rows; }

}  // namespace dhcp::softswitch::cli
