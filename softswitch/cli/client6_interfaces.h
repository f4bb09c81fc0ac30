/// The switch's own interfaces that get their IPv6 address by DHCPv6, as values.
#pragma once

#include <vector>

#include "dhcp/client6.h"

namespace dhcp::softswitch::cli {

/// All of them at one moment, by VLAN.
std::vector<Dhcp6cInterface> client6_interfaces();

/// True when the interface of this VLAN is in DHCPv6 mode.
bool by_dhcp6(uint16_t vlan);

}  // namespace dhcp::softswitch::cli
