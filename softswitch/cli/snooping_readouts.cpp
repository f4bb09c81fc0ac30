/// What snooping knows and has seen: settings, clients, counters, the file of bindings.
#include <algorithm>
#include <ctime>

#include "platform/intf_list.h"
#include "platform/text.h"
#include "softswitch/cli/bindings.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr uint32_t no_port = 0;  // stands for frames that came from no port of the switch

std::string number(uint64_t value) { return std::to_string(value); }

std::string moment(uint32_t time) {
  if (time == 0) return "never";
  const auto seconds = static_cast<time_t>(time);
  tm local{};
  char text[32] = "";
  if (localtime_r(&seconds, &local) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

// --- Settings

void say_row(Session& session, const char* label, const std::string& value) {
  session.say(format("         %-32s %s\n", label, value.c_str()));
}

/// The module's own readout, and what only the switch knows or only a structure tells.
Outcome show_snooping(Session& session, const Args&) {
  if (auto bad = show_file(session, show_dhcp_snoop_conf)) return bad;
  DhcpSnoopRogue rogue{};
  dhcp_snoop_get_rogue(&rogue);
  session.say("\n");
  say_row(session, "Frames above the packet limit :", number(switch_control().event_queue().dropped_rate));
  say_row(session, "Messages of rogue servers :", number(rogue.seen));
  if (rogue.time != 0) say_row(session, "Last of them at :", moment(rogue.time));
  return {};
}

// --- Clients

std::string lease_left(const DhcpSnoopBinding& binding) {
  if (binding.state == 0 || binding.is_static != 0) return "-";
  return std::to_string(int64_t{binding.lease} - binding.age);
}

std::vector<std::string> binding_cells(const DhcpSnoopBinding& binding) {
  char mac[18];
  const bool bound = binding.state != 0;
  return {onu_mac2str(binding.mac, mac),
          binding.ip == 0 ? "-" : dotted(binding.ip),
          std::to_string(binding.vlan),
          str_intf_id(binding.intf),
          bound ? std::to_string(binding.lease) : "-",
          lease_left(binding),
          binding.is_static != 0 ? "static" : "dynamic",
          bound ? "bound" : "learning"};
}

template <class Wanted>
Outcome show_bindings(Session& session, Wanted wanted) {
  TextTable table({{"MAC address"},
                   {"IP address"},
                   {"VLAN", Align::right},
                   {"Port"},
                   {"Lease, s", Align::right},
                   {"Left, s", Align::right},
                   {"Type"},
                   {"State"}});
  const auto bindings = all_bindings();
  size_t shown = 0;
  for (const DhcpSnoopBinding& binding : bindings) {
    if (!wanted(binding)) continue;
    table.add(binding_cells(binding));
    ++shown;
  }
  session.say(table.text());
  session.say(format("%zu of %zu bindings\n", shown, bindings.size()));
  return {};
}

Outcome show_all(Session& session, const Args&) {
  return show_bindings(session, [](const DhcpSnoopBinding&) { return true; });
}
Outcome show_by_mac(Session& session, const Args& args) {
  const auto& mac = args[0].mac;
  return show_bindings(session, [&](const DhcpSnoopBinding& b) { return std::equal(mac.begin(), mac.end(), b.mac); });
}
Outcome show_by_vlan(Session& session, const Args& args) {
  const auto vlan = static_cast<int32_t>(args[0].number);
  return show_bindings(session, [=](const DhcpSnoopBinding& b) { return b.vlan == vlan; });
}
Outcome show_by_port(Session& session, const Args& args) {
  const uint32_t intf = args[0].number;
  return show_bindings(session, [=](const DhcpSnoopBinding& b) { return b.intf == intf; });
}

// --- Counters

constexpr int type_columns = 9;

void add_verdicts(TextTable& table, uint32_t intf) {
  DhcpSnoopCounters counters{};
  if (dhcp_snoop_get_counters(intf, &counters) != 0) return;
  for (int verdict = 0; verdict < DHCP_SNOOP_VERDICTS; ++verdict) {
    const uint32_t(&row)[type_columns] = counters.count[verdict];
    if (std::all_of(row, row + type_columns, [](uint32_t count) { return count == 0; })) continue;
    std::vector<std::string> cells = {intf == no_port ? "-" : str_intf_id(intf), dhcp_snoop_verdict_name(verdict)};
    for (int type = 1; type < type_columns; ++type) cells.push_back(number(row[type]));
    cells.push_back(number(row[0]));
    table.add(std::move(cells));
  }
}

/// The module's two counters stand in its own record.
void add_dropped(TextTable& table, uint32_t intf) {
  const auto* const node = intf_order_list_search(g_dhcp_snooping.intf_list, intf);
  if (node == nullptr) return;
  const auto* const port = reinterpret_cast<const SnoopIntfEntry*>(node);
  if (port->dropped_ack == 0 && port->dropped_offer == 0) return;
  table.add({str_intf_id(intf), number(port->dropped_ack), number(port->dropped_offer)});
}

Outcome show_statistics(Session& session, const Args&) {
  const auto right = Align::right;
  TextTable verdicts({{"Port"},
                      {"Fate"},
                      {"DISCOVER", right},
                      {"OFFER", right},
                      {"REQUEST", right},
                      {"DECLINE", right},
                      {"ACK", right},
                      {"NAK", right},
                      {"RELEASE", right},
                      {"INFORM", right},
                      {"other", right}});
  TextTable dropped({{"Port"}, {"Dropped Ack Pkts", right}, {"Dropped Offer Pkts", right}});
  for (uint32_t intf = no_port; intf <= switch_control().port_count(); ++intf) add_verdicts(verdicts, intf);
  dhcp_snooping_mutex_lock_func();
  for (uint32_t intf = 1; intf <= switch_control().port_count() && g_dhcp_snooping.intf_list != nullptr; ++intf)
    add_dropped(dropped, intf);
  dhcp_snooping_mutex_unlock_func();
  session.say(verdicts.text() + "\n" + dropped.text());
  return {};
}

// --- The file of bindings

Outcome show_database(Session& session, const Args&) {
  DhcpSnoopDatabase file{};
  dhcp_snoop_get_database(&file);
  const auto row = [&](const char* label, const std::string& value) {
    session.say(format("%-22s %s\n", label, value.c_str()));
  };
  dhcp_snooping_mutex_lock_func();
  const bool cyclic = g_dhcp_snooping.writeflash_enable != 0;
  const int delay = g_dhcp_snooping.writeflash_interval;
  dhcp_snooping_mutex_unlock_func();
  row("File", file.path);
  row("Write delay", cyclic ? std::to_string(delay) + " s" : "off");
  row("Last write", moment(file.last_write));
  row("Bindings written", number(file.written));
  row("Failed writes", number(file.write_failures));
  row("Last read", moment(file.last_read));
  row("Bindings read", number(file.loaded));
  row("Lines skipped", number(file.skipped));
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip dhcp snooping", "Settings of DHCP snooping, and the last rogue server", show_snooping,
     "show ip dhcp snooping"},
    {exec, "show ip dhcp snooping binding", "Clients that snooping knows", show_all,
     "show ip dhcp snooping binding | count"},
    {exec, "show ip dhcp snooping binding mac MAC", "The client with this hardware address", show_by_mac,
     "show ip dhcp snooping binding mac 02:00:00:00:00:51"},
    {exec, "show ip dhcp snooping binding vlan VLAN", "The clients of a VLAN", show_by_vlan,
     "show ip dhcp snooping binding vlan 10"},
    {exec, "show ip dhcp snooping binding interface gigabitethernet PORT", "The clients behind a port", show_by_port,
     "show ip dhcp snooping binding interface gigabitethernet 1"},
    {exec, "show ip dhcp snooping statistics", "What became of the frames, by port and message type", show_statistics,
     "show ip dhcp snooping statistics"},
    {exec, "show ip dhcp snooping database", "The file of the bindings, and what became of it", show_database,
     "show ip dhcp snooping database"},
    {exec, "show ip dhcp information option circuitid", "Circuit ids that are set",
     show_readout<show_dhcp_snoop_option82_circuit_id>, "show ip dhcp information option circuitid"},
    {exec, "show ip dhcp information option remoteid", "Remote ids that are set",
     show_readout<show_dhcp_snoop_option82_remote_id>, "show ip dhcp information option remoteid"},
    {exec, "show ip dhcp information option ip", "Link addresses that are set",
     show_readout<show_dhcp_snoop_option82_ip>, "show ip dhcp information option ip"},
};

}  // namespace

std::span<const Command> snooping_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
