/// The MAC of one of the device's own interfaces, for the frames that are addressed to the device itself.
#pragma once

#include <optional>

#include "base/mac.h"

namespace dhcp::module {

/// As the kernel has it now: the operator may change it at any time. On the "dhcpr" task only.
std::optional<base::MacAddress> read_own_mac(const char* ifname);

/// Closes what the reading keeps open between frames; the next one opens it again.
void close_own_mac_query();

}  // namespace dhcp::module
