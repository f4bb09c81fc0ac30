/// What the command line asks of the switch: every configuration line and every readout, as plain values.
///
/// One object a process. Every call may come from any thread; the switch guards its own state. A configuration call
/// that fails changes nothing and says why in words fit for the operator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dhcp::softswitch {

/// Nothing = done; otherwise the reason.
using Refusal = std::optional<std::string>;

enum class PortMode { access, trunk };

struct PortConfig {
  uint32_t port = 0;   // from 1
  std::string device;  // Linux interface, "" = none
  PortMode mode = PortMode::access;
  uint16_t access_vlan = 1;
  uint16_t native_vlan = 1;       // of a trunk
  std::vector<uint16_t> allowed;  // of a trunk, ascending; empty = all
  std::string description;
  bool source_guard = false;   // IPv4 frames of known hosts only
  bool source_guard6 = false;  // IPv6 frames of known hosts only
  bool arp_check = false;      // ARP of known hosts only
};

struct PortCounters {
  uint64_t rx_frames = 0, rx_bytes = 0, tx_frames = 0, tx_bytes = 0;
  uint64_t rx_filtered = 0;  // VLAN not a member, bad tag, runt
  uint64_t rx_lost = 0;      // the kernel's ring was full
  uint64_t tx_failed = 0;    // the kernel refused
  uint64_t trapped = 0;      // redirected to the CPU by a chip rule
};

struct PortStatus {
  PortConfig config;
  bool up = false;  // device present and running
  PortCounters counters;
};

struct VlanInterface {
  uint16_t vlan = 0;
  uint32_t ip = 0, mask = 0, gateway = 0;  // host order, 0 = none
  std::string ip6;                         // "addr/len", "" = none
  std::string gateway6;                    // "addr", "" = none
};

struct MacRow {
  uint16_t vlan;
  uint8_t mac[6];
  uint32_t intf;
  uint32_t age_s;
};

struct QueueCounters {
  uint64_t posted = 0, dropped_full = 0, dropped_rate = 0;
  uint32_t depth = 0, highest = 0, capacity = 0;
};

/// A host that may use an address on an interface.
struct KnownHost {
  uint32_t intf = 0, ip = 0;
  uint16_t vlan = 0;  // 0 = whichever
  std::array<uint8_t, 6> mac{};
  int32_t lease = 0;  // seconds, as told
  int type = 0;       // who told; 2 = DHCP snooping
};
/// The same with an IPv6 address.
struct KnownHost6 {
  uint32_t intf = 0;
  uint16_t vlan = 0;
  std::array<uint8_t, 6> mac{};
  std::array<uint8_t, 16> ip6{};
  int32_t lease = 0;  // seconds
};
enum class HostList { source_guard, arp_check, fixed_arp, igmp };

/// What a guard found wrong with a frame.
enum class GuardDrop {
  malformed,     // too short, or not what its type says
  unknown,       // nobody is known to have the address on this port
  other_mac,     // somebody else has it
  other_vlan,    // this host has it, in another VLAN
  other_sender,  // ARP alone: it speaks for a host other than the one that sent the frame
};
inline constexpr size_t guard_drops = 5;
enum class GuardKind { source, source6, arp };

/// Frames that the guards of a port have judged.
struct GuardCounters {
  struct Counts {
    uint64_t passed = 0;
    std::array<uint64_t, guard_drops> dropped{};  // by GuardDrop
  };
  std::array<Counts, 3> kinds;  // by GuardKind
  Counts& of(GuardKind kind) { return kinds[static_cast<size_t>(kind)]; }
  const Counts& of(GuardKind kind) const { return kinds[static_cast<size_t>(kind)]; }
};

/// A capture of the frames at the ports, as they came and as they went, with their tags.
struct CaptureRequest {
  std::string path;                     // of a new file, from /
  uint32_t port = 0;                    // 0 = all
  bool dhcp = false;                    // frames to a DHCP port of either family alone
  uint64_t limit = uint64_t{64} << 20;  // bytes that the file may have
};
enum class CaptureState {
  none,
  running,
  ended,   // by the operator
  full,    // the file has reached its limit
  failed,  // it cannot be written
};
struct CaptureStatus {
  CaptureRequest request;
  CaptureState state = CaptureState::none;
  std::string failure;
  uint64_t size = 0;              // bytes of the file
  uint64_t frames = 0, lost = 0;  // in the file, and missing for want of room in memory
};

struct TaskRow {
  std::string name;
  uint32_t id = 0;  // as the task service wrote it
  int32_t pid = 0;  // of the task's thread
};

class SwitchControl {
 public:
  virtual ~SwitchControl() = default;

  virtual uint32_t port_count() const = 0;  // physical ports, fixed for the life of the process
  virtual Refusal set_device(uint32_t port, const std::string& ifname) = 0;            // "" = take the device away
  virtual Refusal set_access_vlan(uint32_t port, uint16_t vlan) = 0;                   // also makes it an access port
  virtual Refusal set_trunk(uint32_t port, const std::vector<uint16_t>& allowed) = 0;  // also makes it a trunk
  virtual Refusal set_native_vlan(uint32_t port, uint16_t vlan) = 0;
  virtual Refusal set_description(uint32_t port, const std::string& text) = 0;
  virtual PortStatus port(uint32_t port) const = 0;

  virtual Refusal set_source_guard(uint32_t port, bool on) = 0;
  virtual Refusal set_source_guard6(uint32_t port, bool on) = 0;
  /// Taking it off forgets what the ARP-check list holds for the port.
  virtual Refusal set_arp_check(uint32_t port, bool on) = 0;
  virtual GuardCounters guard_counters(uint32_t port) const = 0;
  virtual void clear_guard_counters(GuardKind kind) = 0;
  virtual std::vector<KnownHost> hosts(HostList list) const = 0;  // by interface, VLAN, address
  virtual void forget_hosts(HostList list) = 0;
  /// IPv6 source guard's hosts, by interface and address. There are none as long as no port is guarded.
  virtual std::vector<KnownHost6> hosts6() const = 0;
  /// Has IPv6 source guard look at the module's bindings again; for whoever has changed them.
  virtual void take_bound_hosts() = 0;

  virtual Refusal create_vlan(uint16_t vlan) = 0;  // VLANs also come into being with the first port or interface
  virtual Refusal delete_vlan(uint16_t vlan) = 0;
  virtual std::vector<uint16_t> vlans() const = 0;  // ascending

  virtual Refusal create_vlan_interface(uint16_t vlan) = 0;  // eth0.<vlan> appears
  virtual Refusal delete_vlan_interface(uint16_t vlan) = 0;
  virtual Refusal set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) = 0;  // 0, 0 = remove
  virtual Refusal set_gateway(uint16_t vlan, uint32_t gateway) = 0;
  virtual Refusal set_ip6(uint16_t vlan, const std::string& addr_slash_len) = 0;
  virtual Refusal set_gateway6(uint16_t vlan, const std::string& addr) = 0;  // "" = remove
  virtual std::vector<VlanInterface> vlan_interfaces() const = 0;            // ascending

  virtual Refusal set_mac_aging_time(uint32_t seconds) = 0;
  virtual uint32_t mac_aging_time() const = 0;
  virtual std::vector<MacRow> mac_table() const = 0;
  virtual void clear_mac_table() = 0;

  /// One at a time; one that is over gives way.
  virtual Refusal start_capture(const CaptureRequest& request) = 0;
  virtual Refusal stop_capture() = 0;
  virtual CaptureStatus capture() const = 0;

  virtual QueueCounters event_queue() const = 0;
  virtual uint64_t rule_hits(uint32_t group, uint32_t rule) const = 0;  // since it was installed; 0 = it is not
  virtual std::vector<TaskRow> tasks() const = 0;                       // those that run, in the order of their start
  virtual std::string mac_address() const = 0;                          // of eth0 and every eth0.<vlan>
};

/// The running switch; made by main() before the command line is.
SwitchControl& switch_control();

}  // namespace dhcp::softswitch
