/// The server's UDP socket: it only holds port 67, so that the kernel does not answer clients itself.
#pragma once

namespace dhcp::server {

inline constexpr int socket_wait_ms = 1000;

/// Waits up to a second for a datagram and throws it away. At once when the socket is closed. A cancellation point.
void drain_socket();

}  // namespace dhcp::server
