/// The device as the tests see it: every platform call recorded, every answer set from here, and the clock in hand.
///
/// One device for the whole process; reset() gives each test a new one. Calls may come from the module's threads, so
/// everything that those write is behind the device's own mutex and read through functions.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/adp.h"
#include "platform/queue.h"

namespace fake {

using Mac = std::array<uint8_t, 6>;

struct LogLine {
  int level, module;
  std::string name, text;
};

/// A frame that the module handed to the chip.
struct Sent {
  std::vector<uint8_t> bytes;
  bool all_ports;  // null list
  std::vector<uint32_t> ports;
  uint32_t vlan;
  int mode;
};

/// A layer-3 interface on a management VLAN; IPv4 addresses are host-order numbers, those of IPv6 text.
struct VlanInterface {
  uint32_t ip = 0;
  Mac mac{};
  uint32_t mask = 0, gateway = 0;
  std::string ip6{};
  uint8_t prefix6 = 0;
  std::string gateway6{};
};

class Device {
 public:
  Device() = default;
  ~Device();  // removes the temporary files
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  static constexpr Mac default_mac{0x02, 0, 0, 0, 0, 0x01};

  // What the device answers. Set before the module's threads run.
  std::atomic<uint32_t> now{1'000'000'000};
  std::atomic<uint32_t> ticks_a_look_us{1'000'000};  // how far the clock that is never set goes when it is read
  int physical_ports = 28;
  std::map<uint32_t, VlanInterface> vlan_interfaces;
  std::set<std::string> interfaces_without_answer;  // ioctl fails for these names
  std::map<std::pair<Mac, uint32_t>, uint32_t> mac_table;
  std::set<std::string> tasks_that_fail;
  bool chip_refuses_rules = false;
  bool frames_are_unusable = false;
  bool queue_cannot_be_made = false;
  bool tracing = false;
  bool keeps_log = true;  // false = what the module logs is not even formatted
  bool sockets_cannot_be_made = false;
  int bind_error = 0;
  bool temp_files_cannot_be_made = false;
  std::set<uint32_t> missing_vlans;
  std::vector<uint16_t> layer3_vlans;  // in the device's order; empty = those of vlan_interfaces
  bool mac_is_unknown = false;
  uint32_t mac_ageing_s = 300;
  std::map<uint32_t, Mac> arp_hosts;  // who answers ARP, six bytes late, as the CPU's interface delivers it
  bool arp_cannot_be_sent = false;
  /// What an ARP request brings in, instead of the hosts' answers.
  std::function<std::vector<std::vector<uint8_t>>(const std::vector<uint8_t>& request)> on_arp;
  std::map<uint32_t, uint32_t> group_of_port;
  // Answers of the neighbours: IP source guard, ARP module.
  int source_guard_answer = 0, arp_check_answer = 0, fixed_arp_answer = 0;
  std::set<uint32_t> ports_without_arp_check;
  int ip6_answer = 0;  // to an address for a VLAN interface
  // IPv6 neighbours: who answers a solicitation, and what others say before.
  std::map<std::array<uint8_t, 16>, Mac> neighbours6;
  std::vector<std::vector<uint8_t>> icmp6_before;

  // What the module did.
  std::vector<LogLine> log() const { return locked(log_); }
  /// How many lines carry exactly this text; with a name, only those under it.
  int logged(const std::string& text, const std::string& name = "") const;
  /// The same for lines that begin "[function:line]" or "[function : line]" before the text.
  int logged_at(const std::string& text, const std::string& name = "") const;
  std::vector<std::pair<std::string, std::string>> traces() const { return locked(traces_); }
  std::vector<std::string> calls() const { return locked(calls_); }
  /// What the neighbours were told since the last time, as "call mac ip interface ..." in the order of the record.
  std::vector<std::string> take_neighbour_calls();
  std::vector<Sent> take_sent();
  std::vector<const skpack*> released() const { return locked(released_); }
  size_t released_count() const {
    const std::lock_guard lock(mutex_);
    return released_.size();
  }
  std::map<std::pair<uint32_t, uint32_t>, adp_fp_entity> rules() const { return locked(rules_); }
  /// Solicitations sent, as they left.
  std::vector<std::vector<uint8_t>> take_solicitations();
  std::vector<std::string> task_events() const { return locked(task_events_); }
  /// What has been recorded so far: for a test that goes on for long.
  void forget();
  uint32_t slept_ms() const { return slept_ms_.load(); }
  /// ARP requests, as "interface address".
  std::vector<std::string> arp_requests() const { return locked(arp_requests_); }
  /// Where temporary files of this test lie; made when first asked for.
  const std::string& temp_directory();

  /// The event queue from the device's side. post() is false while no queue is open.
  bool post(const DhcpEvent& event);
  void close_queue();
  int queues_open() const { return queues_open_.load(); }
  int blocks_handed_back() const { return blocks_handed_back_.load(); }

  // For the platform calls themselves.
  template <class T>
  void record(T Device::*list, const typename T::value_type& item) {
    const std::lock_guard lock(mutex_);
    (this->*list).push_back(item);
  }
  void call(std::string text) { record(&Device::calls_, std::move(text)); }

  std::vector<LogLine> log_;
  std::vector<std::pair<std::string, std::string>> traces_;
  std::vector<std::string> calls_, neighbour_calls_, task_events_, arp_requests_;
  std::map<int, int> raw_peers_;  // a raw socket's other end, where answers are put in
  std::vector<Sent> sent_;
  std::vector<std::vector<uint8_t>> solicitations_;
  std::vector<const skpack*> released_;
  std::map<std::pair<uint32_t, uint32_t>, adp_fp_entity> rules_;
  std::atomic<uint32_t> slept_ms_{0};
  std::atomic<int> queues_open_{0}, blocks_handed_back_{0};
  mutable std::mutex mutex_;

 private:
  template <class T>
  T locked(const T& value) const {
    const std::lock_guard lock(mutex_);
    return value;
  }
  std::string temp_directory_;
};

/// The device of the test that runs.
Device& device();
/// A new device, and the module's clock, sleep and sockets turned to it.
void reset();

/// Makes the next `count` allocations of the module fail, after letting `after` succeed.
void fail_allocations(int count, int after = 0);

/// Allocations that the module has asked for and been refused since the program began, and its blocks not freed yet.
struct Allocations {
  uint32_t asked, refused;
  size_t live;
};
Allocations allocations();

}  // namespace fake
