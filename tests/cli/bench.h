/// A switch without hardware at the command line, with the real DHCP server behind it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/cli/session.h"
#include "softswitch/control.h"

namespace dhcp::softswitch::cli {

/// Keeps what it is told; refuses what `refusal` says, once.
class FakeSwitch : public SwitchControl {
 public:
  Refusal refusal;
  std::map<uint32_t, PortStatus> port_rows;
  std::set<uint16_t> vlan_set = {1};
  std::map<uint16_t, VlanInterface> interfaces;
  std::vector<MacRow> macs;
  uint32_t aging_time_s = 300;
  std::map<uint32_t, GuardCounters> guards;
  std::map<HostList, std::vector<KnownHost>> host_lists;
  std::vector<KnownHost> igmp_hears;  // from snooping, once it asks
  std::vector<KnownHost6> host_list6;
  std::vector<TaskRow> task_rows;
  int taken_hosts = 0;
  CaptureStatus capturing;

  uint32_t port_count() const override { return 10; }
  Refusal set_device(uint32_t port, const std::string& ifname) override { return set(of(port).device, ifname); }
  Refusal set_access_vlan(uint32_t port, uint16_t vlan) override {
    set(of(port).mode, PortMode::access);
    return add_vlans({vlan}), set(of(port).access_vlan, vlan);
  }
  Refusal set_trunk(uint32_t port, const std::vector<uint16_t>& allowed) override {
    set(of(port).mode, PortMode::trunk);
    return add_vlans(allowed), set(of(port).allowed, allowed);
  }
  Refusal set_native_vlan(uint32_t port, uint16_t vlan) override { return set(of(port).native_vlan, vlan); }
  Refusal set_description(uint32_t port, const std::string& text) override { return set(of(port).description, text); }
  PortStatus port(uint32_t port) const override {
    PortStatus status = row_of(port_rows, port);
    status.config.port = port;
    return status;
  }
  Refusal set_source_guard(uint32_t port, bool on) override { return set(of(port).source_guard, on); }
  Refusal set_source_guard6(uint32_t port, bool on) override { return set(of(port).source_guard6, on); }
  Refusal set_arp_check(uint32_t port, bool on) override { return set(of(port).arp_check, on); }
  GuardCounters guard_counters(uint32_t port) const override { return row_of(guards, port); }
  void clear_guard_counters(GuardKind kind) override {
    for (auto& [port, counters] : guards) counters.of(kind) = {};
  }
  std::vector<KnownHost> hosts(HostList list) const override { return row_of(host_lists, list); }
  void forget_hosts(HostList list) override {
    host_lists.erase(list);
    if (list == HostList::igmp) host_lists[list] = igmp_hears;
  }
  std::vector<KnownHost6> hosts6() const override { return host_list6; }
  void take_bound_hosts() override { ++taken_hosts; }
  Refusal create_vlan(uint16_t vlan) override { return refusal ? take_refusal() : add_vlans({vlan}); }
  Refusal delete_vlan(uint16_t vlan) override {
    return vlan_set.erase(vlan) != 0 ? Refusal{} : "there is no such VLAN";
  }
  std::vector<uint16_t> vlans() const override { return {vlan_set.begin(), vlan_set.end()}; }
  Refusal create_vlan_interface(uint16_t vlan) override { return add_vlans({vlan}), set(interfaces[vlan].vlan, vlan); }
  Refusal delete_vlan_interface(uint16_t vlan) override { return interfaces.erase(vlan), Refusal{}; }
  Refusal set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) override {
    set(interfaces[vlan].ip, ip);
    return set(interfaces[vlan].mask, mask);
  }
  Refusal set_gateway(uint16_t vlan, uint32_t gateway) override { return set(interfaces[vlan].gateway, gateway); }
  Refusal set_ip6(uint16_t vlan, const std::string& text) override { return set(interfaces[vlan].ip6, text); }
  Refusal set_gateway6(uint16_t vlan, const std::string& text) override { return set(interfaces[vlan].gateway6, text); }
  std::vector<VlanInterface> vlan_interfaces() const override {
    std::vector<VlanInterface> rows;
    for (const auto& [vlan, row] : interfaces) rows.push_back(row);
    return rows;
  }
  Refusal set_mac_aging_time(uint32_t seconds) override { return set(aging_time_s, seconds); }
  uint32_t mac_aging_time() const override { return aging_time_s; }
  std::vector<MacRow> mac_table() const override { return macs; }
  void clear_mac_table() override { macs.clear(); }
  Refusal start_capture(const CaptureRequest& request) override {
    capturing.request = request;
    return set(capturing.state, CaptureState::running);
  }
  Refusal stop_capture() override { return set(capturing.state, CaptureState::ended); }
  CaptureStatus capture() const override { return capturing; }
  QueueCounters event_queue() const override { return {}; }
  uint64_t rule_hits(uint32_t group, uint32_t rule) const override { return group * 100 + rule; }
  std::vector<TaskRow> tasks() const override { return task_rows; }
  std::string mac_address() const override { return "02:00:00:00:00:01"; }

 private:
  PortConfig& of(uint32_t port) { return port_rows[port].config; }
  template <class Rows>
  static typename Rows::mapped_type row_of(const Rows& rows, const typename Rows::key_type& key) {
    const auto row = rows.find(key);
    return row == rows.end() ? typename Rows::mapped_type{} : row->second;
  }
  template <class Setting>
  Refusal set(Setting& setting, const Setting& wanted) {
    if (refusal) return take_refusal();
    setting = wanted;
    return {};
  }
  Refusal add_vlans(const std::vector<uint16_t>& vlans) {
    vlan_set.insert(vlans.begin(), vlans.end());
    return {};
  }
  Refusal take_refusal() { return std::exchange(refusal, {}); }
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
  /// A line and what is said against it.
  struct Refused {
    std::string line, fault;
  };
  /// Types each line in the block that `block` opens: all are refused, and the configuration stays as it is.
  void expect_refused(const std::string& block, const std::vector<Refused>& rows);
  /// Gives this switch the lines as a file; "" or what load_configuration() complains about, without the path.
  std::string load(const std::string& text);
  /// Writes the lines to a file and gives its path.
  std::string written(const std::string& text) const;
  /// Goes over to the lines, as a file; gives what that shows.
  std::string replace(const std::string& text);
  /// Loads the lines, and what is saved of them. Lists that the module walks newest first turn round with each load:
  /// the second save has all lines to the letter and in their order, and two loads give back the first text. All of it
  /// can be replaced by nothing, and nothing by all of it.
  void expect_loads_again(const std::string& lines);
  std::string running() { return Session().run("show running-config").text; }

  std::string database() const { return directory + "/bindings"; }  // snooping's file

  std::string directory;
  Session session;
};

}  // namespace dhcp::softswitch::cli
