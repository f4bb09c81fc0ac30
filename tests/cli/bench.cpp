#include "tests/cli/bench.h"

#include <filesystem>
#include <fstream>

#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "platform/text.h"
#include "softswitch/cli/settings.h"
#include "softswitch/command_line.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch {
namespace {

cli::FakeSwitch& the_fake() {
  static cli::FakeSwitch fake;
  return fake;
}

/// Its switches outlive init_DHCPR_cfg().
void reset_relay() {
  DHCPR_stop();
  DHCPR_set_trust(1);
  DHCPR_set_dhcp_option82_switch(1);
  DHCPR_set_route_port(24);
  DHCPR_set_route_vlan(0, 0);
  dhcp_relay_clear_counters();
  init_DHCPR_cfg();
}

}  // namespace

SwitchControl& switch_control() { return the_fake(); }

namespace cli {

Refusal FakeSwitch::take_refusal() {
  Refusal now = refusal;
  refusal.reset();
  return now;
}

Refusal FakeSwitch::set_device(uint32_t port, const std::string& ifname) {
  if (refusal) return take_refusal();
  port_rows[port].config.device = ifname;
  return {};
}
Refusal FakeSwitch::set_access_vlan(uint32_t port, uint16_t vlan) {
  vlan_set.insert(vlan);
  port_rows[port].config.access_vlan = vlan;
  port_rows[port].config.mode = PortMode::access;
  return {};
}
Refusal FakeSwitch::set_trunk(uint32_t port, const std::vector<uint16_t>& allowed) {
  vlan_set.insert(allowed.begin(), allowed.end());
  port_rows[port].config.allowed = allowed;
  port_rows[port].config.mode = PortMode::trunk;
  return {};
}
Refusal FakeSwitch::set_native_vlan(uint32_t port, uint16_t vlan) {
  port_rows[port].config.native_vlan = vlan;
  return {};
}
Refusal FakeSwitch::set_description(uint32_t port, const std::string& text) {
  port_rows[port].config.description = text;
  return {};
}
PortStatus FakeSwitch::port(uint32_t port) const {
  const auto row = port_rows.find(port);
  PortStatus status = row == port_rows.end() ? PortStatus{} : row->second;
  status.config.port = port;
  return status;
}
Refusal FakeSwitch::set_source_guard(uint32_t port, bool on) {
  port_rows[port].config.source_guard = on;
  return {};
}
Refusal FakeSwitch::set_source_guard6(uint32_t port, bool on) {
  port_rows[port].config.source_guard6 = on;
  return {};
}
Refusal FakeSwitch::set_arp_check(uint32_t port, bool on) {
  port_rows[port].config.arp_check = on;
  return {};
}
GuardCounters FakeSwitch::guard_counters(uint32_t port) const {
  const auto row = guards.find(port);
  return row == guards.end() ? GuardCounters{} : row->second;
}
void FakeSwitch::clear_guard_counters(GuardKind kind) {
  for (auto& [port, counters] : guards) counters.of(kind) = {};
}
std::vector<KnownHost> FakeSwitch::hosts(HostList list) const {
  const auto rows = host_lists.find(list);
  return rows == host_lists.end() ? std::vector<KnownHost>{} : rows->second;
}
Refusal FakeSwitch::create_vlan(uint16_t vlan) {
  if (refusal) return take_refusal();
  vlan_set.insert(vlan);
  return {};
}
Refusal FakeSwitch::delete_vlan(uint16_t vlan) {
  if (vlan_set.erase(vlan) == 0) return "there is no VLAN " + std::to_string(vlan);
  return {};
}
Refusal FakeSwitch::create_vlan_interface(uint16_t vlan) {
  vlan_set.insert(vlan);
  interfaces[vlan].vlan = vlan;
  return {};
}
Refusal FakeSwitch::delete_vlan_interface(uint16_t vlan) {
  if (interfaces.erase(vlan) == 0) return "there is no such interface";
  return {};
}
Refusal FakeSwitch::set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) {
  interfaces[vlan].ip = ip;
  interfaces[vlan].mask = mask;
  return {};
}
Refusal FakeSwitch::set_gateway(uint16_t vlan, uint32_t gateway) {
  interfaces[vlan].gateway = gateway;
  return {};
}
Refusal FakeSwitch::set_ip6(uint16_t vlan, const std::string& addr_slash_len) {
  interfaces[vlan].ip6 = addr_slash_len;
  return {};
}
std::vector<VlanInterface> FakeSwitch::vlan_interfaces() const {
  std::vector<VlanInterface> rows;
  for (const auto& [vlan, row] : interfaces) rows.push_back(row);
  return rows;
}
Refusal FakeSwitch::set_mac_aging_time(uint32_t seconds) {
  aging_time_s = seconds;
  return {};
}

CliTest::CliTest() : directory(testing::TempDir() + "cli_" + std::to_string(getpid())) {
  std::filesystem::create_directories(directory);
  set_startup_path(directory + "/startup.conf");
  dhcp_snoop_set_database_path(database().c_str(), (database() + ".new").c_str());
  dhcp6_snoop_set_database_path((database() + "6").c_str(), (database() + "6.new").c_str());
  wipe();
}

CliTest::~CliTest() {
  wipe();
  exit_DHCPR_cfg();
  exit_dhcp_snooping();
  exit_dhcp6_snooping();
  dhcp_snoop_set_database_path(nullptr, nullptr);
  dhcp6_snoop_set_database_path(nullptr, nullptr);
  std::filesystem::remove_all(directory);
}

FakeSwitch& CliTest::fake() { return the_fake(); }

void CliTest::wipe() {
  reset_relay();
  fake::reset();
  init_DHCPS_cfg();
  init_dhcp_snooping();
  init_dhcp6_snooping();
  exit_dhcp6_relay_cfg();
  init_dhcp6_relay_cfg();
  init_DHCP6S_cfg();
  dhcp6c_init();
  the_fake() = FakeSwitch();
  set_hostname("");
  session = Session();
}

std::string CliTest::type(const std::vector<std::string>& lines) {
  std::string shown;
  for (const std::string& line : lines) {
    const Reply reply = session.run(line);
    EXPECT_TRUE(reply.accepted) << line << ": " << reply.reason;
    shown = reply.text;
  }
  return shown;
}

std::string CliTest::refusal(const std::string& line) {
  const Reply reply = session.run(line);
  EXPECT_FALSE(reply.accepted) << line;
  EXPECT_EQ(reply.text, "") << line;
  return reply.column == Reply::no_column ? reply.reason : std::to_string(reply.column) + ": " + reply.reason;
}

std::string CliTest::load(const std::string& text) {
  const std::string path = directory + "/load.conf";
  std::ofstream(path, std::ios::binary) << text;
  std::string error;
  if (load_configuration(path, error)) return "";
  EXPECT_TRUE(error.starts_with(path + ":")) << error;
  return error.substr(path.size() + 1);
}

}  // namespace cli
}  // namespace dhcp::softswitch
