/// Which address a client is offered: what it asks for when that is free, else the lowest free one of the pool.
///
/// The answer is always that of a scan from the pool's first address; what is remembered between messages only keeps
/// the scan from looking again at addresses that cannot have become free.
#pragma once

#include <cstdint>

namespace dhcp::server {

/// Says that a binding or a conflict has let go of `ip`. Takes no word.
void address_released(uint32_t ip);

}  // namespace dhcp::server
