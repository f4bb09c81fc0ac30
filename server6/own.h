/// The MAC by which the device appears in answers and in its identifier.
#pragma once

#include <optional>

#include "base/mac.h"

namespace dhcp::server6 {

/// MAC of the CPU's interface, asked for once; nothing while the device cannot tell.
std::optional<base::MacAddress> own_mac();
void forget_own_mac();

}  // namespace dhcp::server6
