/// The module's counts of frames as the readouts take them.
#pragma once

#include <vector>

#include "dhcp/counters.h"

namespace dhcp::softswitch::cli {

/// All counts that are not 0, by service, interface, reason and type.
std::vector<DhcpCounter> module_counters();

}  // namespace dhcp::softswitch::cli
