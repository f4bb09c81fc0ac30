/// The MAC of the device's own interface, for the frames of a snooping switch without a relay.
#pragma once

#include <optional>

#include "base/mac.h"

namespace dhcp::module {

/// As the kernel has it now: the operator may change it at any time. On the "dhcpr" task only.
std::optional<base::MacAddress> read_own_mac();

/// Closes what the reading keeps open between frames; the next one opens it again.
void close_own_mac_query();

}  // namespace dhcp::module
