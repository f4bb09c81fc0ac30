/// SwitchControl on the fabric and the VLAN interfaces.
#include "softswitch/control.h"

#include <net/if.h>

#include <algorithm>
#include <mutex>

#include "platform/text.h"
#include "softswitch/capture.h"
#include "softswitch/fabric.h"
#include "softswitch/follow_bindings.h"
#include "softswitch/running_tasks.h"
#include "softswitch/vlan_interfaces.h"

namespace dhcp::softswitch {
namespace {

std::string number(uint32_t n) { return std::to_string(n); }

Refusal check_vlan(uint16_t vlan) {
  if (vlan >= 1 && vlan <= max_vlan) return std::nullopt;
  return "a VLAN is a number from 1 to " + number(max_vlan);
}

class Control : public SwitchControl {
 public:
  uint32_t port_count() const override { return fabric().port_count(); }

  Refusal set_device(uint32_t port, const std::string& ifname) override {
    const std::lock_guard guard(lock_);
    if (Refusal why = check_port(port)) return why;
    if (Refusal why = check_device(port, ifname)) return why;
    PortConfig& config = configs()[port];
    if (config.device == ifname) return std::nullopt;
    const bool had = !config.device.empty();
    fabric().set_device(port, ifname);
    config.device = ifname;
    if (had && ifname.empty()) fabric().notify_port_change(0, port);
    if (!had && !ifname.empty()) fabric().notify_port_change(port, 0);
    return std::nullopt;
  }

  Refusal set_access_vlan(uint32_t port, uint16_t vlan) override {
    return change_vlans(port, {vlan}, [=](PortConfig& config) {
      config.mode = PortMode::access;
      config.access_vlan = vlan;
    });
  }

  Refusal set_trunk(uint32_t port, const std::vector<uint16_t>& allowed) override {
    return change_vlans(port, allowed, [&](PortConfig& config) {
      config.mode = PortMode::trunk;
      config.allowed = allowed;
      std::sort(config.allowed.begin(), config.allowed.end());
      config.allowed.erase(std::unique(config.allowed.begin(), config.allowed.end()), config.allowed.end());
    });
  }

  Refusal set_native_vlan(uint32_t port, uint16_t vlan) override {
    return change_vlans(port, {vlan}, [=](PortConfig& config) { config.native_vlan = vlan; });
  }

  Refusal set_description(uint32_t port, const std::string& text) override {
    const std::lock_guard guard(lock_);
    if (Refusal why = check_port(port)) return why;
    configs()[port].description = text;
    return std::nullopt;
  }

  PortStatus port(uint32_t port) const override {
    const std::lock_guard guard(lock_);
    PortStatus status;
    if (check_port(port)) return status;
    status.config = configs()[port];
    status.up = fabric().port_up(port);
    status.counters = fabric().counters(port);
    return status;
  }

  Refusal set_source_guard(uint32_t port, bool on) override {
    return change_guard(port, &PortConfig::source_guard, &Guard::set_source_guard, on);
  }
  Refusal set_source_guard6(uint32_t port, bool on) override {
    Refusal why = change_guard(port, &PortConfig::source_guard6, &Guard::set_source_guard6, on);
    take_bound_hosts();
    return why;
  }
  Refusal set_arp_check(uint32_t port, bool on) override {
    return change_guard(port, &PortConfig::arp_check, &Guard::set_arp_check, on);
  }
  GuardCounters guard_counters(uint32_t port) const override {
    if (check_port(port)) return {};
    return fabric().with([=](FabricState& s) { return s.guard.counters(port); });
  }
  void clear_guard_counters(GuardKind kind) override {
    fabric().with([=](FabricState& s) { s.guard.clear_counters(kind); });
  }
  std::vector<KnownHost> hosts(HostList list) const override {
    return fabric().with([=](FabricState& s) { return s.guard.hosts(list).rows(); });
  }
  void forget_hosts(HostList list) override {
    fabric().with([=](FabricState& s) { s.guard.hosts(list).clear(); });
  }

  std::vector<KnownHost6> hosts6() const override {
    return fabric().with([](FabricState& s) { return s.guard.hosts6().rows(); });
  }
  void take_bound_hosts() override { softswitch::take_bound_hosts(); }

  Refusal create_vlan(uint16_t vlan) override {
    if (Refusal why = check_vlan(vlan)) return why;
    fabric().with([=](FabricState& s) { return s.bridge.vlans.create(vlan); });
    return std::nullopt;
  }

  Refusal delete_vlan(uint16_t vlan) override {
    const std::lock_guard guard(lock_);
    if (Refusal why = check_vlan(vlan)) return why;
    if (vlan == 1) return "VLAN 1 is always there";
    if (softswitch::vlan_interfaces().exists(vlan)) return "there is an interface vlan " + number(vlan);
    return fabric().with([&](FabricState& s) -> Refusal {
      for (uint32_t port = 1; port <= fabric().port_count(); ++port)
        if (s.bridge.vlans.uses(port, vlan)) return "port " + number(port) + " is configured for it";
      if (!s.bridge.vlans.remove(vlan)) return "there is no VLAN " + number(vlan);
      s.bridge.macs.forget_vlan(vlan);
      return std::nullopt;
    });
  }

  std::vector<uint16_t> vlans() const override {
    return fabric().with([](FabricState& s) { return s.bridge.vlans.list(); });
  }

  Refusal create_vlan_interface(uint16_t vlan) override {
    if (Refusal why = create_vlan(vlan)) return why;
    return softswitch::vlan_interfaces().create(vlan);
  }
  Refusal delete_vlan_interface(uint16_t vlan) override { return softswitch::vlan_interfaces().remove(vlan); }
  Refusal set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) override {
    return softswitch::vlan_interfaces().set_ip(vlan, ip, mask);
  }
  Refusal set_gateway(uint16_t vlan, uint32_t gateway) override {
    return softswitch::vlan_interfaces().set_gateway(vlan, gateway);
  }
  Refusal set_ip6(uint16_t vlan, const std::string& text) override {
    return softswitch::vlan_interfaces().set_ip6(vlan, text);
  }
  Refusal set_gateway6(uint16_t vlan, const std::string& text) override {
    return softswitch::vlan_interfaces().set_gateway6(vlan, text);
  }
  std::vector<VlanInterface> vlan_interfaces() const override { return softswitch::vlan_interfaces().list(); }

  Refusal set_mac_aging_time(uint32_t seconds) override {
    fabric().with([=](FabricState& s) { s.bridge.ageing_s = seconds; });
    return std::nullopt;
  }
  uint32_t mac_aging_time() const override {
    return fabric().with([](FabricState& s) { return s.bridge.ageing_s; });
  }
  std::vector<MacRow> mac_table() const override;
  void clear_mac_table() override {
    fabric().with([](FabricState& s) { s.bridge.macs.clear(); });
  }

  Refusal start_capture(const CaptureRequest& request) override;
  Refusal stop_capture() override;
  CaptureStatus capture() const override {
    const std::lock_guard guard(lock_);
    return capture_ ? capture_->status() : CaptureStatus{};
  }

  uint64_t rule_hits(uint32_t group, uint32_t rule) const override {
    return fabric().with([=](FabricState& s) { return s.rules.hits(group, rule); });
  }
  QueueCounters event_queue() const override { return fabric().queue_counters(); }
  std::vector<TaskRow> tasks() const override { return running_tasks(); }
  std::string mac_address() const override {
    char text[18];
    return onu_mac2str(fabric().with([](FabricState& s) { return s.bridge.cpu_mac; }).data(), text);
  }

 private:
  Refusal check_port(uint32_t port) const {
    if (port >= 1 && port <= port_count()) return std::nullopt;
    return "a port is a number from 1 to " + number(port_count());
  }
  Refusal check_device(uint32_t port, const std::string& ifname) const;
  template <class Change>
  Refusal change_vlans(uint32_t port, const std::vector<uint16_t>& vlans, Change change);
  Refusal change_guard(uint32_t port, bool PortConfig::*shown, void (Guard::*set)(uint32_t, bool), bool on);

  std::vector<PortConfig>& configs() const {
    for (auto next = static_cast<uint32_t>(configs_.size()); next <= port_count(); ++next) {
      configs_.emplace_back();
      configs_.back().port = next;
    }
    return configs_;
  }

  mutable std::mutex lock_;
  std::unique_ptr<Capture> capture_;
  mutable std::vector<PortConfig> configs_;  // by port; made when first asked for, the number of ports being known then
};

Refusal Control::check_device(uint32_t port, const std::string& ifname) const {
  if (ifname.size() >= IFNAMSIZ || ifname.find('/') != std::string::npos) return "not the name of an interface";
  const auto is = [&](const char* own) { return ifname == own || ifname.rfind(std::string(own) + ".", 0) == 0; };
  if (is("eth0") || is("cpu")) return ifname + " belongs to the switch's own CPU";
  for (const PortConfig& other : configs())
    if (!ifname.empty() && other.port != port && other.device == ifname)
      return ifname + " is the device of port " + number(other.port);
  return std::nullopt;
}

template <class Change>
Refusal Control::change_vlans(uint32_t port, const std::vector<uint16_t>& vlans, Change change) {
  const std::lock_guard guard(lock_);
  if (Refusal why = check_port(port)) return why;
  for (const uint16_t vlan : vlans)
    if (Refusal why = check_vlan(vlan)) return why;
  PortConfig& config = configs()[port];
  change(config);
  fabric().with([&](FabricState& s) {
    VlanMap& map = s.bridge.vlans;
    for (const uint16_t vlan : vlans) map.create(vlan);
    map.set_port(port, config.mode, config.access_vlan, config.native_vlan, config.allowed);
    s.bridge.macs.forget_intf(port);
  });
  return std::nullopt;
}

Refusal Control::change_guard(uint32_t port, bool PortConfig::*shown, void (Guard::*set)(uint32_t, bool), bool on) {
  const std::lock_guard guard(lock_);
  if (Refusal why = check_port(port)) return why;
  configs()[port].*shown = on;
  fabric().with([&](FabricState& s) { (s.guard.*set)(port, on); });
  return std::nullopt;
}

Refusal Control::start_capture(const CaptureRequest& request) {
  const std::lock_guard guard(lock_);
  if (request.port != 0)
    if (Refusal why = check_port(request.port)) return why;
  if (capture_ && capture_->status().state == CaptureState::running)
    return "a capture to " + capture_->status().request.path + " is running";
  std::vector<Capture::Interface> ports;
  for (uint32_t port = 1; port <= port_count(); ++port) ports.push_back({str_intf_id(port), configs()[port].device});
  Refusal why;
  auto next = Capture::begin(request, ports, why);
  if (!next) return why;
  fabric().set_capture(next.get());
  capture_ = std::move(next);
  return std::nullopt;
}

Refusal Control::stop_capture() {
  const std::lock_guard guard(lock_);
  if (!capture_ || capture_->status().state != CaptureState::running) return "no capture is running";
  fabric().set_capture(nullptr);
  capture_->end();
  return std::nullopt;
}

std::vector<MacRow> Control::mac_table() const {
  std::vector<MacTable::Entry> entries;
  const uint32_t now = fabric().seconds();
  fabric().with([&](FabricState& s) { entries = s.bridge.macs.rows(); });
  std::vector<MacRow> rows;
  for (const MacTable::Entry& entry : entries) {
    MacRow row{entry.vlan(), {}, entry.intf, now - entry.seen};
    entry.mac(row.mac);
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

SwitchControl& switch_control() {
  static Control control;
  return control;
}

}  // namespace dhcp::softswitch
