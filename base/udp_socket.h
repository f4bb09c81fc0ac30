/// IPv4 UDP sockets on a well-known port.
#pragma once

#include <cstdint>

namespace dhcp::base {

/// Binds to `port` (host order) of every address of the device. False with errno set.
bool bind_to_port(int socket, uint16_t port);

}  // namespace dhcp::base
