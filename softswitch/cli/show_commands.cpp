/// The readouts of the switch itself.
#include <sys/utsname.h>

#include <ctime>

#include "platform/text.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/settings.h"

namespace dhcp::softswitch::cli {
namespace {

std::string number(uint64_t value) { return std::to_string(value); }
std::string or_dash(const std::string& text) { return text.empty() ? "-" : text; }

std::string uptime() {
  timespec process{}, now{};
  static const time_t started = (clock_gettime(CLOCK_MONOTONIC, &process), process.tv_sec);
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto s = static_cast<long>(now.tv_sec - started);
  return format("%ld d %02ld:%02ld:%02ld", s / 86400, s / 3600 % 24, s / 60 % 60, s % 60);
}
[[maybe_unused]] const std::string clock_begins_at_start = uptime();

// --- Switch

Outcome show_version(Session& session, const Args&) {
  session.say(format("%-18s %s\n", "Version", SOFTSWITCH_VERSION));
  session.say(format("%-18s %s\n", "Host name", hostname().c_str()));
  utsname system{};
  if (uname(&system) == 0)
    session.say(format("%-18s %s %s %s\n", "Platform", system.sysname, system.release, system.machine));
  session.say(format("%-18s %s\n", "Uptime", uptime().c_str()));
  session.say(format("%-18s %s\n", "MAC address", switch_control().mac_address().c_str()));
  session.say(format("%-18s %u\n", "Physical ports", switch_control().port_count()));
  return {};
}

Outcome show_running(Session& session, const Args&) {
  session.say(running_config());
  return {};
}

Outcome show_startup(Session& session, const Args&) {
  const std::string path = startup_path();
  const auto text = path.empty() ? std::nullopt : read_file(path);
  if (!text) return Fault{"nothing has been saved yet"};
  session.say(*text);
  return {};
}

Outcome show_tasks(Session& session, const Args&) {
  TextTable table({{"Task"}, {"Id", Align::right}, {"Pid", Align::right}});
  for (const TaskRow& row : switch_control().tasks()) {
    table.add({row.name, number(row.id), std::to_string(row.pid)});
  }
  session.say(table.text());
  return {};
}

Outcome show_queue(Session& session, const Args&) {
  const QueueCounters queue = switch_control().event_queue();
  session.say(format("%-26s %u of %u events\n", "Waiting", queue.depth, queue.capacity));
  session.say(format("%-26s %u events\n", "Highest", queue.highest));
  session.say(format("%-26s %llu events\n", "Posted", static_cast<unsigned long long>(queue.posted)));
  session.say(format("%-26s %llu events\n", "Lost, queue full", static_cast<unsigned long long>(queue.dropped_full)));
  session.say(
      format("%-26s %llu events\n", "Lost, above rate limit", static_cast<unsigned long long>(queue.dropped_rate)));
  return {};
}

// --- Ports

std::string vlans_of(const PortConfig& port) {
  if (port.mode == PortMode::access) return std::to_string(port.access_vlan);
  return vlan_list_text(port.allowed) + " native " + std::to_string(port.native_vlan);
}

const char* state_of(const PortStatus& status) {
  if (status.config.device.empty()) return "no device";
  return status.up ? "up" : "down";
}

Outcome show_ports(Session& session, const Args&) {
  TextTable table({{"Port"},
                   {"Device"},
                   {"State"},
                   {"Mode"},
                   {"VLANs"},
                   {"Received", Align::right},
                   {"Sent", Align::right},
                   {"To CPU", Align::right},
                   {"Description"}});
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const PortStatus status = switch_control().port(port);
    table.add({str_intf_id(port), or_dash(status.config.device), state_of(status),
               status.config.mode == PortMode::access ? "access" : "trunk", vlans_of(status.config),
               number(status.counters.rx_frames), number(status.counters.tx_frames), number(status.counters.trapped),
               status.config.description});
  }
  session.say(table.text());
  return {};
}

Outcome show_port(Session& session, const Args& args) {
  const PortStatus status = switch_control().port(args[0].number);
  const PortCounters& c = status.counters;
  const auto row = [&](const char* name, const std::string& value) {
    session.say(format("  %-26s %s\n", name, value.c_str()));
  };
  session.say(format("gigabitethernet %u is %s\n", args[0].number, state_of(status)));
  row("Device", or_dash(status.config.device));
  if (!status.config.description.empty()) row("Description", status.config.description);
  row("Mode", status.config.mode == PortMode::access ? "access" : "trunk");
  row("VLANs", vlans_of(status.config));
  row("Received", number(c.rx_frames) + " frames, " + number(c.rx_bytes) + " bytes");
  row("Sent", number(c.tx_frames) + " frames, " + number(c.tx_bytes) + " bytes");
  row("Filtered on receipt", number(c.rx_filtered) + " frames");
  row("Lost before receipt", number(c.rx_lost) + " frames");
  row("Failed to send", number(c.tx_failed) + " frames");
  row("Brought to the CPU", number(c.trapped) + " frames");
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
std::string ports_in(uint16_t vlan, PortMode mode) {
  std::vector<uint16_t> members;
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const PortConfig config = switch_control().port(port).config;
    if (config.mode == mode && carries(config, vlan)) members.push_back(static_cast<uint16_t>(port));
  }
  return members.empty() ? "-" : vlan_list_text(members);
}

Outcome show_vlans(Session& session, const Args&) {
  TextTable table({{"VLAN", Align::right}, {"Access ports"}, {"Trunk ports"}});
  for (const uint16_t vlan : switch_control().vlans()) {
    table.add({std::to_string(vlan), ports_in(vlan, PortMode::access), ports_in(vlan, PortMode::trunk)});
  }
  session.say(table.text());
  return {};
}

Outcome show_mac_table(Session& session, const Args&) {
  TextTable table({{"VLAN", Align::right}, {"MAC address"}, {"Port"}, {"Age, s", Align::right}});
  const auto rows = switch_control().mac_table();
  for (const MacRow& row : rows) {
    char mac[18];
    table.add({std::to_string(row.vlan), onu_mac2str(row.mac, mac), str_intf_id(row.intf), number(row.age_s)});
  }
  session.say(table.text());
  session.say(format("%zu addresses, forgotten after %u s\n", rows.size(), switch_control().mac_aging_time()));
  return {};
}

/// Configured, or leased and marked so.
std::string ip6_of(const VlanInterface& interface) {
  if (!interface.ip6.empty()) return interface.ip6;
  for (const Dhcp6cInterface& row : client6_interfaces()) {
    if (row.vlan != interface.vlan) continue;
    return row.installed != 0 && row.has_address != 0 ? ip6_text(row.address) + " (DHCPv6)" : "DHCPv6";
  }
  return "-";
}

Outcome show_vlan_interfaces(Session& session, const Args&) {
  TextTable table({{"Interface"}, {"Address"}, {"Mask"}, {"Gateway"}, {"IPv6 address"}});
  const auto text = [](uint32_t address) { return address == 0 ? std::string("-") : dotted(address); };
  for (const VlanInterface& row : switch_control().vlan_interfaces()) {
    table.add({format("vlan %u", row.vlan), text(row.ip), text(row.mask), text(row.gateway), ip6_of(row)});
  }
  session.say(table.text());
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show version", "Version, uptime and hardware address", show_version, "show version"},
    {exec, "show running-config", "Configuration that is in force", show_running,
     "show running-config | begin interface"},
    {exec, "show startup-config", "Configuration that was saved", show_startup, "show startup-config"},
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
