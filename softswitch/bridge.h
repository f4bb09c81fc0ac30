/// The forwarding decision: what the switch does with a frame whose VLAN is known, as a value.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>

#include "softswitch/mac_table.h"
#include "softswitch/vlan_map.h"

namespace dhcp::softswitch {

struct Decision {
  PortSet ports = 0;  // leaves by these
  bool cpu = false;   // and goes to the CPU's interface of that VLAN
};

/// Tables that decide where a frame goes. Guarded by the fabric's lock.
struct Bridge {
  VlanMap vlans;
  MacTable macs;
  std::array<uint8_t, 6> cpu_mac{};
  std::bitset<max_vlan + 1> cpu_vlans;  // VLANs that have an interface
  uint32_t ageing_s = 300;              // 0 = never

  /// Whether the switch takes a frame with these addresses from a port at all: link-local group addresses end here
  /// (IEEE 802.1D), and neither a group nor the switch itself can be a sender.
  bool acceptable(const uint8_t* frame) const;
  bool to_cpu(const uint8_t* destination, uint16_t vlan) const;
  /// `ingress` 0 = from the CPU, which then is no destination.
  Decision decide(uint16_t vlan, const uint8_t* destination, uint32_t ingress) const;
};

}  // namespace dhcp::softswitch
