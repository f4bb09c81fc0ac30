#include "softswitch/cli/running_config.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "softswitch/cli/client6_interfaces.h"
#include "softswitch/cli/output.h"
#include "softswitch/cli/settings.h"
#include "softswitch/cli/words.h"
#include "softswitch/control.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr char separator[] = "!\n";
constexpr uint32_t default_aging_time_s = 300;
constexpr uint16_t default_vlan = 1;

std::string global_lines(const SwitchControl& device) {
  std::string text = "hostname " + hostname() + "\n";
  auto vlans = device.vlans();
  std::erase(vlans, default_vlan);
  if (!vlans.empty()) text += "vlan " + vlan_list_text(vlans) + "\n";
  if (device.mac_aging_time() != default_aging_time_s) {
    text += format("mac address-table aging-time %u\n", device.mac_aging_time());
  }
  return text;
}

/// Places whose severity is another than the program was started with.
std::string log_setting_lines() {
  constexpr const char* words[] = {"console", "syslog", "buffered"};
  std::string text;
  for (const LogPlace place : log_places) {
    if (log_severity(place) == initial_log_severity(place)) continue;
    text += std::string("logging ") + words[static_cast<size_t>(place)] + " " +
            std::string(severity_name(log_severity(place))) + "\n";
  }
  return text;
}

/// The access VLAN comes first: it makes an access port, which the trunk line then changes.
std::string port_lines(const PortConfig& port) {
  std::string text;
  if (!port.description.empty()) text += " description " + port.description + "\n";
  if (!port.device.empty()) text += " device " + port.device + "\n";
  if (port.access_vlan != default_vlan) text += format(" switchport access vlan %u\n", port.access_vlan);
  if (port.mode == PortMode::trunk) text += " switchport trunk allowed vlan " + vlan_list_text(port.allowed) + "\n";
  if (port.native_vlan != default_vlan) text += format(" switchport trunk native vlan %u\n", port.native_vlan);
  if (port.source_guard) text += " ip verify source\n";
  if (port.source_guard6) text += " ipv6 verify source\n";
  if (port.arp_check) text += " ip arp inspection\n";
  if (text.empty()) return text;
  return format("interface gigabitethernet %u\n", port.port) + text + separator;
}

std::string vlan_interface_lines(const VlanInterface& row) {
  std::string text = format("interface vlan %u\n", row.vlan);
  if (row.ip != 0) text += " ip address " + dotted(row.ip) + " " + dotted(row.mask) + "\n";
  if (row.gateway != 0) text += " ip gateway " + dotted(row.gateway) + "\n";
  if (!row.ip6.empty()) text += " ipv6 address " + row.ip6 + "\n";
  if (by_dhcp6(row.vlan)) text += " ipv6 address dhcp\n";
  if (!row.gateway6.empty()) text += " ipv6 gateway " + row.gateway6 + "\n";
  return text + separator;
}

std::string without_carriage_returns(std::string text) {
  std::erase(text, '\r');
  return text;
}

/// What a service of the module saves, with a "!" line behind it.
std::string module_lines(int (*save)(FILE*)) {
  char* saved = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&saved, &size);
  if (stream == nullptr) return {};
  save(stream);
  std::fclose(stream);
  std::string text = without_carriage_returns(std::string(saved, size));
  std::free(saved);
  return text.empty() ? text : text + separator;
}

}  // namespace

std::string running_config() {
  const SwitchControl& device = switch_control();
  std::string text = separator + global_lines(device) + log_setting_lines() + separator;
  for (uint32_t port = 1; port <= device.port_count(); ++port) text += port_lines(device.port(port).config);
  for (const VlanInterface& row : device.vlan_interfaces()) text += vlan_interface_lines(row);
  return text + module_lines(onu_dhcp_server_save) + module_lines(onu_dhcp_relay_save) +
         module_lines(onu_dhcp_snoop_save) + module_lines(onu_dhcp6_snoop_save) + module_lines(onu_dhcp6_relay_save) +
         module_lines(onu_dhcp6_server_save) + "end\n";
}

std::optional<std::string> read_file(const std::string& path) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
  if (file == nullptr) return {};
  std::string text;
  char block[4096];
  for (size_t got; (got = std::fread(block, 1, sizeof block, file.get())) > 0;) text.append(block, got);
  if (std::ferror(file.get()) != 0) return {};
  return without_carriage_returns(std::move(text));
}

}  // namespace dhcp::softswitch::cli
