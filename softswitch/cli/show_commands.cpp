/// The readouts of the switch itself.
#include <sys/utsname.h>

#include <ctime>

#include "platform/text.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"

namespace dhcp::softswitch::cli {
namespace {

uint64_t uptime_s() {
  timespec process{}, now{};
  static const time_t started = (clock_gettime(CLOCK_MONOTONIC, &process), process.tv_sec);
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec - started);
}
[[maybe_unused]] const uint64_t clock_begins_at_start = uptime_s();

Cell uptime() {
  const auto s = static_cast<unsigned>(uptime_s());
  return {s, format("%u d %02u:%02u:%02u", s / 86400, s / 3600 % 24, s / 60 % 60, s % 60)};
}

// --- Switch

Outcome show_version(Readout& out, const Args&) {
  Settings settings(18);
  settings.row("version", "Version", SOFTSWITCH_VERSION);
  settings.row("hostname", "Host name", hostname());
  utsname system{};
  if (uname(&system) == 0)
    settings.row("platform", "Platform", format("%s %s %s", system.sysname, system.release, system.machine));
  settings.row("uptime", "Uptime", uptime());
  settings.row("mac", "MAC address", switch_control().mac_address());
  settings.row("ports", "Physical ports", switch_control().port_count());
  out.add(settings);
  return {};
}

Outcome show_tasks(Readout& out, const Args&) {
  Table table({{"task", "Task"}, {"id", "Id", Align::right}, {"pid", "Pid", Align::right}});
  for (const TaskRow& row : switch_control().tasks()) table.add({row.name, row.id, row.pid});
  out.add(table);
  return {};
}

Cell counted(uint64_t count, const char* what) { return {count, std::to_string(count) + " " + what}; }

Outcome show_queue(Readout& out, const Args&) {
  const QueueCounters queue = switch_control().event_queue();
  Settings settings(26);
  settings.row("waiting", "Waiting", {queue.depth, format("%u of %u events", queue.depth, queue.capacity)});
  settings.set("capacity", queue.capacity);
  settings.row("highest", "Highest", counted(queue.highest, "events"));
  settings.row("posted", "Posted", counted(queue.posted, "events"));
  settings.row("lost_queue_full", "Lost, queue full", counted(queue.dropped_full, "events"));
  settings.row("lost_rate_limit", "Lost, above rate limit", counted(queue.dropped_rate, "events"));
  out.add(settings);
  return {};
}

// --- Ports

std::string vlans_of(const PortConfig& port) {
  if (port.mode == PortMode::access) return std::to_string(port.access_vlan);
  return vlan_list_text(port.allowed) + " native " + std::to_string(port.native_vlan);
}

const char* mode_of(const PortConfig& port) { return port.mode == PortMode::access ? "access" : "trunk"; }

const char* state_of(const PortStatus& status) {
  if (status.config.device.empty()) return "no device";
  return status.up ? "up" : "down";
}

Json numbers(const std::vector<uint16_t>& list) { return Json::array({list.begin(), list.end()}); }

/// What "VLANs" says in one word, one by one.
Json vlan_settings(const PortConfig& port) {
  const bool access = port.mode == PortMode::access;
  return Json::object({{"access", access ? Json(port.access_vlan) : Json()},
                       {"native", access ? Json() : Json(port.native_vlan)},
                       {"allowed", access || port.allowed.empty() ? Json() : numbers(port.allowed)}});
}

Outcome show_ports(Readout& out, const Args&) {
  Table table({{"port", "Port"},
               {"device", "Device"},
               {"state", "State"},
               {"mode", "Mode"},
               {"vlans", "VLANs"},
               {"received", "Received", Align::right},
               {"sent", "Sent", Align::right},
               {"to_cpu", "To CPU", Align::right},
               {"description", "Description"}});
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const auto [config, up, counters] = switch_control().port(port);
    table.add({str_intf_id(port),
               word_or_none(config.device),
               state_of({config, up, counters}),
               mode_of(config),
               {vlan_settings(config), vlans_of(config)},
               counters.rx_frames,
               counters.tx_frames,
               counters.trapped,
               config.description.empty() ? none("") : config.description});
  }
  out.add(table);
  return {};
}

Cell frames(uint64_t count) { return counted(count, "frames"); }

Outcome show_port(Readout& out, const Args& args) {
  const PortStatus status = switch_control().port(args[0].number);
  const PortCounters& c = status.counters;
  const auto frames_and_bytes = [](uint64_t frame_count, uint64_t bytes) {
    return Cell(Json::object({{"frames", frame_count}, {"bytes", bytes}}),
                std::to_string(frame_count) + " frames, " + std::to_string(bytes) + " bytes");
  };
  Settings settings(26, "  ");
  settings.set("port", str_intf_id(args[0].number));
  settings.set("state", state_of(status));
  settings.say(format("gigabitethernet %u is %s\n", args[0].number, state_of(status)));
  settings.row("device", "Device", word_or_none(status.config.device));
  settings.row("description", status.config.description.empty() ? "" : "Description",
               word_or_none(status.config.description));
  settings.row("mode", "Mode", mode_of(status.config));
  settings.row("vlans", "VLANs", {vlan_settings(status.config), vlans_of(status.config)});
  settings.row("received", "Received", frames_and_bytes(c.rx_frames, c.rx_bytes));
  settings.row("sent", "Sent", frames_and_bytes(c.tx_frames, c.tx_bytes));
  settings.row("filtered", "Filtered on receipt", frames(c.rx_filtered));
  settings.row("lost", "Lost before receipt", frames(c.rx_lost));
  settings.row("failed", "Failed to send", frames(c.tx_failed));
  settings.row("to_cpu", "Brought to the CPU", frames(c.trapped));
  out.add(settings);
  return {};
}

// --- VLANs

bool carries(const PortConfig& port, uint16_t vlan) {
  if (port.mode == PortMode::access) return port.access_vlan == vlan;
  if (port.allowed.empty()) return true;
  for (const uint16_t allowed : port.allowed) {
    if (allowed == vlan) return true;
  }
  return false;
}

/// The ports of one mode in a VLAN, as in "1-4,7".
Cell ports_in(uint16_t vlan, PortMode mode) {
  std::vector<uint16_t> members;
  Json names = Json::array();
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const PortConfig config = switch_control().port(port).config;
    if (config.mode != mode || !carries(config, vlan)) continue;
    members.push_back(static_cast<uint16_t>(port));
    names.push_back(str_intf_id(port));
  }
  return {names, members.empty() ? "-" : vlan_list_text(members)};
}

Outcome show_vlans(Readout& out, const Args&) {
  Table table({{"vlan", "VLAN", Align::right}, {"access_ports", "Access ports"}, {"trunk_ports", "Trunk ports"}});
  for (const uint16_t vlan : switch_control().vlans())
    table.add({vlan, ports_in(vlan, PortMode::access), ports_in(vlan, PortMode::trunk)});
  out.add(table);
  return {};
}

Outcome show_mac_table(Readout& out, const Args&) {
  Table table(
      {{"vlan", "VLAN", Align::right}, {"mac", "MAC address"}, {"port", "Port"}, {"age", "Age, s", Align::right}});
  const auto rows = switch_control().mac_table();
  for (const MacRow& row : rows) {
    table.add({row.vlan, mac_text(row.mac), str_intf_id(row.intf), row.age_s});
  }
  out.add(table, "addresses");
  out.set("aging_time", switch_control().mac_aging_time());
  out.say(format("%zu addresses, forgotten after %u s\n", rows.size(), switch_control().mac_aging_time()));
  return {};
}

Cell address(uint32_t ip) { return ip == 0 ? none() : dotted(ip); }

/// Configured, or leased and marked so.
Cell ip6_of(const VlanInterface& interface) {
  if (!interface.ip6.empty()) return interface.ip6;
  for (const Dhcp6cInterface& row : client6_interfaces()) {
    if (row.vlan != interface.vlan) continue;
    if (row.installed == 0 || row.has_address == 0) return none("DHCPv6");
    const std::string leased = ip6_text(row.address);
    return {leased + format("/%u", row.prefix_len), leased + " (DHCPv6)"};
  }
  return none();
}

Outcome show_vlan_interfaces(Readout& out, const Args&) {
  Table table({{"", "Interface"},
               {"vlan", ""},
               {"ip", "Address"},
               {"mask", "Mask"},
               {"gateway", "Gateway"},
               {"ipv6", "IPv6 address"},
               {"gateway6", "IPv6 gateway"},
               {"dhcpv6", ""}});
  for (const VlanInterface& row : switch_control().vlan_interfaces()) {
    table.add({format("vlan %u", row.vlan),
               row.vlan,
               address(row.ip),
               address(row.mask),
               address(row.gateway),
               ip6_of(row),
               word_or_none(row.gateway6),
               {by_dhcp6(row.vlan), ""}});
  }
  out.add(table);
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show version", "Version, uptime and hardware address", show_version, "show version"},
    {exec, "show interfaces", "All ports", show_ports, "show interfaces"},
    {exec, "show interfaces gigabitethernet PORT", "One port with all its counters", show_port,
     "show interfaces gigabitethernet 1"},
    {exec, "show vlan", "VLANs and their ports", show_vlans, "show vlan"},
    {exec, "show mac address-table", "Learnt hardware addresses", show_mac_table,
     "show mac address-table | include Gi1"},
    {exec, "show ip interface", "VLAN interfaces and their addresses", show_vlan_interfaces, "show ip interface"},
    {exec, "show tasks", "Tasks of the DHCP module that run", show_tasks, "show tasks"},
    {exec, "show event-queue", "Queue of frames on their way to the DHCP module", show_queue, "show event-queue"},
};

}  // namespace

std::span<const Command> show_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
