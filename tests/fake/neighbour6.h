/// IPv6 neighbours behind a raw ICMPv6 socket: who is asked, and who answers (Device::neighbours6).
#pragma once

#include <sys/socket.h>

#include <cstddef>

namespace fake {

/// The module's end; what it sends there is answered at once.
int icmp6_socket();
ssize_t send_to_neighbour(int socket, const void* data, size_t size, int flags, const sockaddr* to, unsigned to_size);

}  // namespace fake
