#include "base/udp_socket.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

namespace dhcp::base {

bool bind_to_port(int socket, uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  sockaddr generic{};
  static_assert(sizeof generic == sizeof address);
  memcpy(&generic, &address, sizeof address);
  return bind(socket, &generic, sizeof address) == 0;
}

}  // namespace dhcp::base
