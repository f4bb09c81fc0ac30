/// A chip rule that matches a UDP destination port on every ingress port and brings the frame to the CPU.
#pragma once

#include <cstdint>

namespace dhcp::trap {

/// Installs rule `rule` of `group` for `udp_port`. 0, or -1 when the chip refuses.
int install_cpu_rule(uint32_t group, uint32_t rule, uint16_t udp_port);

}  // namespace dhcp::trap
