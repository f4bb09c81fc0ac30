/// The device's own address on a VLAN, asked of the system anew for every message.
#pragma once

#include <cstdint>

#include "base/mac.h"

namespace dhcp::server {

struct OwnAddress {
  uint32_t ip = 0;
  base::MacAddress mac;
};

/// Zeroes where the VLAN has no interface or is not a management VLAN.
OwnAddress own_address(int vid);

}  // namespace dhcp::server
