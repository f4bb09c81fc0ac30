/// What snooping knows and has seen: clients, counters, the file of bindings.
#include <algorithm>
#include <array>
#include <cctype>
#include <type_traits>
#include <utility>

#include "platform/text.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr uint32_t no_port = 0;  // stands for frames that came from no port of the switch

// --- Clients

/// A lease that has run out and is not aged yet has no seconds left.
template <class Binding>
Cell lease_left(const Binding& binding) {
  if (binding.state == 0 || binding.is_static != 0) return none();
  const auto lease = static_cast<uint32_t>(binding.lease), age = static_cast<uint32_t>(binding.age);
  const uint32_t left = lease == infinite_time ? infinite_time : lease - std::min(lease, age);
  return {left, std::to_string(int64_t{binding.lease} - binding.age)};
}

template <class Family>
std::vector<Cell> binding_cells(const typename Family::Binding& binding) {
  const bool bound = binding.state != 0, fixed = binding.is_static != 0;
  return {mac_text(binding.mac),
          Family::address(binding),
          binding.vlan,
          str_intf_id(binding.intf),
          bound ? lifetime(binding.lease) : none(),
          lease_left(binding),
          fixed ? "static" : "dynamic",
          bound ? "bound" : "learning"};
}

template <class Family, class Wanted>
Outcome show_bindings(Readout& out, Wanted wanted) {
  Table table({{"mac", "MAC address"},
               {Family::address_key, Family::address_title},
               {"vlan", "VLAN", Align::right},
               {"port", "Port"},
               {"lease", "Lease, s", Align::right},
               {"left", "Left, s", Align::right},
               {"type", "Type"},
               {"state", "State"}});
  const auto bindings = all_bindings<Family>();
  size_t shown = 0;
  for (const auto& binding : bindings) {
    if (!wanted(binding)) continue;
    table.add(binding_cells<Family>(binding));
    ++shown;
  }
  out.add(table);
  out.say(format("%zu of %zu bindings\n", shown, bindings.size()));
  return {};
}

template <class Family>
Outcome show_all(Readout& out, const Args&) {
  return show_bindings<Family>(out, [](const auto&) { return true; });
}
template <class Family>
Outcome show_by_mac(Readout& out, const Args& args) {
  const auto& mac = args[0].mac;
  return show_bindings<Family>(out, [&](const auto& b) { return std::equal(mac.begin(), mac.end(), b.mac); });
}
template <class Family>
Outcome show_by_vlan(Readout& out, const Args& args) {
  const auto vlan = static_cast<int32_t>(args[0].number);
  return show_bindings<Family>(out, [=](const auto& b) { return b.vlan == vlan; });
}
template <class Family>
Outcome show_by_port(Readout& out, const Args& args) {
  const uint32_t intf = args[0].number;
  return show_bindings<Family>(out, [=](const auto& b) { return b.intf == intf; });
}

// --- Counters

template <class Counters>
bool any(const Counters& counters, size_t verdict) {
  const auto& row = counters.count[verdict];
  return std::any_of(std::begin(row), std::end(row), [](uint32_t count) { return count != 0; });
}

/// "INFO-REQ" as "info_req".
std::string key_of(std::string_view message_type) {
  std::string key(message_type);
  for (char& c : key) c = c == '-' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return key;
}

/// Ports and verdicts that have counted something, by message type: the unknown ones last. Where all types would not
/// fit a line, people do not see those that never came.
template <class Family>
Table verdicts() {
  constexpr size_t types = std::extent_v<decltype(Family::Counters::count), 1>;
  std::vector<std::pair<uint32_t, typename Family::Counters>> ports;
  std::array<bool, types> shown;
  shown.fill(Family::shows_every_type);
  for (uint32_t intf = no_port; intf <= switch_control().port_count(); ++intf) {
    typename Family::Counters counters{};
    if (Family::get_counters(intf, &counters) != 0) continue;
    for (const auto& row : counters.count)
      for (size_t type = 0; type < types; ++type) shown[type] = shown[type] || row[type] != 0;
    ports.emplace_back(intf, counters);
  }
  std::vector<Table::Column> columns = {{"port", "Port"}, {"fate", "Fate"}};
  for (size_t n = 1; n <= types; ++n) {
    const std::string type = dhcp_message_type_name(Family::service, static_cast<int>(n % types));
    columns.push_back({key_of(type), shown[n % types] ? type : "", Align::right});
  }
  Table table(std::move(columns));
  for (const auto& [intf, counters] : ports) {
    for (size_t verdict = 0; verdict < std::size(counters.count); ++verdict) {
      if (!any(counters, verdict)) continue;
      std::vector<Cell> cells = {intf == no_port ? none() : str_intf_id(intf),
                                 dhcp_snoop_verdict_name(static_cast<int>(verdict))};
      for (size_t n = 1; n <= types; ++n) cells.push_back(counters.count[verdict][n % types]);
      table.add(std::move(cells));
    }
  }
  return table;
}

/// The module's two counters, which stand in its own record.
void add_dropped(Readout& out) {
  Table dropped({{"port", "Port"},
                 {"dropped_ack", "Dropped Ack Pkts", Align::right},
                 {"dropped_offer", "Dropped Offer Pkts", Align::right}});
  for (const SnoopIntfEntry& port : all_records(dhcp_snoop_get_interfaces)) {
    if (port.dropped_ack != 0 || port.dropped_offer != 0)
      dropped.add({str_intf_id(port.ifindex), port.dropped_ack, port.dropped_offer});
  }
  out.say("\n");
  out.add(dropped, "dropped");
}

template <class Family>
Outcome show_statistics(Readout& out, const Args&) {
  out.add(verdicts<Family>(), "fates");
  if constexpr (Family::counts_dropped) add_dropped(out);
  return {};
}

// --- The file of bindings

template <class Family>
Outcome show_database(Readout& out, const Args&) {
  DhcpSnoopDatabase file{};
  Family::get_database(&file);
  const auto& config = Family::config();  // its two words are written by the command line alone
  const int32_t delay = config.writeflash_interval;
  Settings settings(22);
  settings.row("file", "File", file.path);
  settings.row("write_delay", "Write delay",
               config.writeflash_enable != 0 ? Cell(delay, std::to_string(delay) + " s") : none("off"));
  settings.row("last_write", "Last write", moment(file.last_write));
  settings.row("written", "Bindings written", file.written);
  settings.row("write_failures", "Failed writes", file.write_failures);
  settings.row("last_read", "Last read", moment(file.last_read));
  settings.row("read", "Bindings read", file.loaded);
  settings.row("skipped", "Lines skipped", file.skipped);
  out.add(settings);
  return {};
}

constexpr Modes exec = in(Mode::exec);

template <class F>
std::vector<Command> rows() {
  return spelt(
      {
          {exec, "show % dhcp snooping binding", "Clients that snooping knows", show_all<F>,
           "show % dhcp snooping binding | count"},
          {exec, "show % dhcp snooping binding mac MAC", "The client with this hardware address", show_by_mac<F>,
           "show % dhcp snooping binding mac 02:00:00:00:00:51"},
          {exec, "show % dhcp snooping binding vlan VLAN", "The clients of a VLAN", show_by_vlan<F>,
           "show % dhcp snooping binding vlan 10"},
          {exec, "show % dhcp snooping binding interface gigabitethernet PORT", "The clients behind a port",
           show_by_port<F>, "show % dhcp snooping binding interface gigabitethernet 1"},
          {exec, "show % dhcp snooping statistics", "What became of the frames, by port and message type",
           show_statistics<F>, "show % dhcp snooping statistics"},
          {exec, "show % dhcp snooping database", "The file of the bindings, and what became of it", show_database<F>,
           "show % dhcp snooping database"},
      },
      F::words);
}

template <class F>
std::span<const Command> all_rows() {
  static const auto all = rows<F>();
  return all;
}

}  // namespace

std::span<const Command> snooping_readouts() { return all_rows<Snooping4>(); }
std::span<const Command> snooping6_readouts() { return all_rows<Snooping6>(); }

}  // namespace dhcp::softswitch::cli
