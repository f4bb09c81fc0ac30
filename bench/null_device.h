/// A device that does nothing, as fast as can be: what is left on the clock is the module's own work.
///
/// It has two VLANs with an address each, knows every client MAC behind one port when told to, counts what it is asked
/// to send and shows each frame to whoever wants to look. Time stands still unless it is moved. For one thread.
#pragma once

#include <cstdint>
#include <span>

#include "platform/intf_list.h"

namespace dhcp::bench {

struct NullDevice {
  static constexpr uint16_t vlans[] = {10, 20};
  static constexpr uint32_t vlan_ips[] = {0x0a0a0001, 0x0a140001};  // 10.10.0.1, 10.20.0.1
  static constexpr const char* vlan_ip6s[] = {"2001:db8:10::1", "2001:db8:20::1"};
  static constexpr uint32_t mask = 0xffff0000;
  static constexpr uint8_t prefix6 = 64;
  static constexpr uint8_t mac[6] = {0x02, 0, 0, 0, 0, 0x01};
  static constexpr uint32_t learnt_port = 3;

  uint32_t now = 1'000'000'000;
  uint64_t ticks_us = 0;
  bool macs_known = true;
  uint32_t another_ip = 0;  // counts as the device's own; 0 = none
  uint64_t frames_sent = 0, log_lines = 0;
  void (*on_frame)(std::span<const uint8_t> frame, const intf_order_list* ports, uint32_t vlan, int mode) = nullptr;
};

extern NullDevice null_device;

/// Turns the module's clock, sleep and interface queries to the device.
void use_null_device();

}  // namespace dhcp::bench
