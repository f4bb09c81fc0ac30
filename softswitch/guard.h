/// What the chip does with hosts that lie: IP source guard and ARP checking, port by port.
///
/// Frames that a chip rule brings to the CPU are not judged here: a client must be able to ask for the address that it
/// has no entry for yet, and the module sees who asks. Guarded by the fabric's lock.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "softswitch/bound_hosts.h"
#include "softswitch/control.h"
#include "softswitch/frame_map.h"
#include "softswitch/host_table.h"
#include "softswitch/vlan_map.h"

namespace dhcp::softswitch {

class Guard {
 public:
  void set_source_guard(uint32_t port, bool on) { set(guarded_, port, on); }
  void set_source_guard6(uint32_t port, bool on) { set(guarded6_, port, on); }
  /// Taking it off also forgets the port's entries of the ARP-check list.
  void set_arp_check(uint32_t port, bool on);
  bool source_guarded(uint32_t intf) const { return (guarded_ & port_bit(intf)) != 0; }
  bool guards6() const { return guarded6_ != 0; }  // on any port
  bool arp_checked(uint32_t intf) const { return (checked_ & port_bit(intf)) != 0; }

  /// Whether a frame received on `port` may go on; counts it on a port that looks. `body` begins with the EtherType.
  bool admits(uint32_t port, uint16_t vlan, const uint8_t* source, std::span<const uint8_t> body, const FrameMap& map) {
    return ((guarded_ | guarded6_ | checked_) & port_bit(port)) == 0 || judged(port, vlan, source, body, map);
  }

  const GuardCounters& counters(uint32_t port) const { return counters_[port]; }
  void clear_counters(GuardKind kind);

  HostTable& hosts(HostList list) { return tables_[static_cast<size_t>(list)]; }
  BoundHosts& hosts6() { return hosts6_; }

 private:
  static void set(PortSet& ports, uint32_t port, bool on) {
    ports = on ? ports | port_bit(port) : ports & ~port_bit(port);
  }
  bool judged(uint32_t port, uint16_t vlan, const uint8_t* source, std::span<const uint8_t> body, const FrameMap& map);
  std::optional<GuardDrop> judge_source(uint32_t port, uint16_t vlan, const uint8_t* source,
                                        std::span<const uint8_t> ip, uint16_t udp_to) const;
  std::optional<GuardDrop> judge_source6(uint32_t port, uint16_t vlan, const uint8_t* source,
                                         std::span<const uint8_t> ip, const FrameMap& map) const;
  std::optional<GuardDrop> judge_arp(uint32_t port, const uint8_t* source, std::span<const uint8_t> arp) const;

  const HostTable& table(HostList list) const { return tables_[static_cast<size_t>(list)]; }

  PortSet guarded_ = 0, guarded6_ = 0, checked_ = 0;
  /// Source guard's is kept for every interface, so that a port can be guarded at any time; the ARP-check list has
  /// checked ports only. Fixed ARP entries vouch for a host like that list, which hands over to them when it is full.
  std::array<HostTable, 4> tables_;  // by HostList
  BoundHosts hosts6_;
  std::array<GuardCounters, most_ports + 1> counters_{};
};

}  // namespace dhcp::softswitch
