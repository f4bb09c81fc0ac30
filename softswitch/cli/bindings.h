/// The clients that snooping knows, as values.
#pragma once

#include <vector>

#include "dhcp/snooping.h"

namespace dhcp::softswitch::cli {

/// All of them at one moment, by MAC bucket.
std::vector<DhcpSnoopBinding> all_bindings();

}  // namespace dhcp::softswitch::cli
