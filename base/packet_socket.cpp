#include "base/packet_socket.h"

#include <sys/socket.h>

#include "base/os.h"

namespace dhcp::base {

int open_idle_packet_socket() {
  constexpr int protocol = 2048;  // taken as it is, not in network order
  const int descriptor = os.socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) return -1;
  // Nobody reads it; the smallest buffer keeps the kernel from storing the device's traffic in it.
  const int least = 0;
  setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &least, sizeof least);
  return descriptor;
}

}  // namespace dhcp::base
