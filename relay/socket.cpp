/// A socket on the server's port for whoever wants one; the relay's own frames never go through it.
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/os.h"
#include "base/udp_socket.h"
#include "packet/layout.h"
#include "relay/relay.h"

namespace {

using dhcp::base::module_relay;

}  // namespace

int DHCPR_socket() {
  const int descriptor = dhcp::base::os.socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    const char* reason = strerror(errno);
    DHCP_LOG_AT(module_relay, dhcp::relay::frames_log, "dhcpr: socket create failed! %s\r\n", reason);
    fprintf(stderr, "dhcpr: socket create failed! %s\r\n", reason);
    return -1;
  }
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  if (dhcp::base::bind_to_port(descriptor, dhcp::packet::udp::port_server)) return descriptor;
  const char* reason = strerror(errno);
  DHCP_LOG_AT(module_relay, dhcp::relay::frames_log, "dhcpr: socket bind failed! %s \r\n", reason);
  close(descriptor);
  return -1;
}
