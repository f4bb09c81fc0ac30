/// A socket on the server's port for whoever wants one; the relay's own frames never go through it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/os.h"
#include "packet/layout.h"
#include "relay/relay.h"

namespace {

using dhcp::base::module_relay;

constexpr const char* log_name = "dhcp_relay";

bool bind_to_server_port(int socket) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(dhcp::packet::udp::port_server);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  sockaddr generic{};
  static_assert(sizeof generic == sizeof address);
  memcpy(&generic, &address, sizeof address);
  return bind(socket, &generic, sizeof address) == 0;
}

}  // namespace

int DHCPR_socket() {
  const int descriptor = dhcp::base::os.socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    const char* reason = strerror(errno);
    DHCP_LOG_AT(module_relay, log_name, "dhcpr: socket create failed! %s\r\n", reason);
    fprintf(stderr, "dhcpr: socket create failed! %s\r\n", reason);
    return -1;
  }
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  if (bind_to_server_port(descriptor)) return descriptor;
  const char* reason = strerror(errno);
  DHCP_LOG_AT(module_relay, log_name, "dhcpr: socket bind failed! %s \r\n", reason);
  close(descriptor);
  return -1;
}
