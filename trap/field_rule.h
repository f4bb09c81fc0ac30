/// One chip rule: a UDP destination port on some ingress ports, and what becomes of the frame.
#pragma once

#include <cstdint>

namespace dhcp::trap {

/// Ports 0..63, one bit each, the first 32 in `lo`.
struct PortMap {
  uint32_t lo, hi;
};

/// Every port but bit 0, which is no port.
inline constexpr PortMap all_ports{0xfffffffe, 0xffffffff};

enum class Treatment { to_cpu, drop };

/// Installs rule `rule` of `group`. 0, or -1 when the chip refuses.
int install_rule(uint32_t group, uint32_t rule, uint16_t udp_port, PortMap ports, Treatment treatment);

}  // namespace dhcp::trap
