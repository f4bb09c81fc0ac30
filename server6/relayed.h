/// A relay's frame taken apart.
#pragma once

#include <cstddef>

namespace dhcp::server6 {

/// Room for the work copy of a relay's frame, whose own length is at most this.
inline constexpr size_t work_size = 1024;

}  // namespace dhcp::server6
