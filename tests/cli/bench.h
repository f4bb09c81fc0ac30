/// A switch without hardware at the command line, with the real DHCP server behind it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "softswitch/cli/session.h"
#include "softswitch/control.h"

namespace dhcp::softswitch::cli {

/// Keeps what it is told; refuses what `refusal` says, once.
class FakeSwitch : public SwitchControl {
 public:
  static constexpr uint32_t ports = 10;

  Refusal refusal;
  std::map<uint32_t, PortStatus> port_rows;
  std::set<uint16_t> vlan_set = {1};
  std::map<uint16_t, VlanInterface> interfaces;
  std::vector<MacRow> macs;
  uint32_t aging_time_s = 300;
  std::map<uint32_t, GuardCounters> guards;
  std::map<HostList, std::vector<KnownHost>> host_lists;
  std::vector<KnownHost6> host_list6;
  int taken_hosts = 0;

  uint32_t port_count() const override { return ports; }
  Refusal set_device(uint32_t port, const std::string& ifname) override;
  Refusal set_access_vlan(uint32_t port, uint16_t vlan) override;
  Refusal set_trunk(uint32_t port, const std::vector<uint16_t>& allowed) override;
  Refusal set_native_vlan(uint32_t port, uint16_t vlan) override;
  Refusal set_description(uint32_t port, const std::string& text) override;
  PortStatus port(uint32_t port) const override;
  Refusal set_source_guard(uint32_t port, bool on) override;
  Refusal set_source_guard6(uint32_t port, bool on) override;
  Refusal set_arp_check(uint32_t port, bool on) override;
  GuardCounters guard_counters(uint32_t port) const override;
  void clear_guard_counters(GuardKind kind) override;
  std::vector<KnownHost> hosts(HostList list) const override;
  void forget_hosts(HostList list) override { host_lists.erase(list); }
  std::vector<KnownHost6> hosts6() const override { return host_list6; }
  void take_bound_hosts() override { ++taken_hosts; }
  Refusal create_vlan(uint16_t vlan) override;
  Refusal delete_vlan(uint16_t vlan) override;
  std::vector<uint16_t> vlans() const override { return {vlan_set.begin(), vlan_set.end()}; }
  Refusal create_vlan_interface(uint16_t vlan) override;
  Refusal delete_vlan_interface(uint16_t vlan) override;
  Refusal set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) override;
  Refusal set_gateway(uint16_t vlan, uint32_t gateway) override;
  Refusal set_ip6(uint16_t vlan, const std::string& addr_slash_len) override;
  std::vector<VlanInterface> vlan_interfaces() const override;
  Refusal set_mac_aging_time(uint32_t seconds) override;
  uint32_t mac_aging_time() const override { return aging_time_s; }
  std::vector<MacRow> mac_table() const override { return macs; }
  void clear_mac_table() override { macs.clear(); }
  QueueCounters event_queue() const override { return {}; }
  uint64_t rule_hits(uint32_t group, uint32_t rule) const override { return group * 100 + rule; }
  std::vector<TaskRow> tasks() const override { return {}; }
  std::string mac_address() const override { return "02:00:00:00:00:01"; }

 private:
  Refusal take_refusal();
};

class CliTest : public testing::Test {
 protected:
  CliTest();
  ~CliTest() override;

  FakeSwitch& fake();
  /// As after a restart: nothing configured, nothing learnt.
  void wipe();

  /// Types the lines; each must be taken. Gives what the last one showed.
  std::string type(const std::vector<std::string>& lines);
  /// Types a line that must be refused and gives "column: reason", or the reason alone when no word is to blame.
  std::string refusal(const std::string& line);
  /// Gives this switch the lines as a file; "" or what load_configuration() complains about, without the path.
  std::string load(const std::string& text);
  std::string running() { return Session().run("show running-config").text; }

  std::string database() const { return directory + "/bindings"; }  // snooping's file

  std::string directory;
  Session session;
};

}  // namespace dhcp::softswitch::cli
