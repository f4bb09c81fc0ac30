#include "server/socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "base/log.h"
#include "base/os.h"
#include "base/udp_socket.h"
#include "packet/layout.h"
#include "server/server.h"

namespace dhcp::server {

namespace {

/// Guards the number in dhcps_cfg.sock against being closed, and given to somebody else's file, while it is read from.
std::mutex descriptor_mutex;

class DescriptorLock {
 private:
  base::CancelHold hold_;
  std::lock_guard<std::mutex> lock_{descriptor_mutex};
};

void close_held() {
  const int socket = dhcps_cfg.sock.exchange(-1);
  if (socket >= 0) close(socket);
}

bool bind_to_server_port(int socket) {
  const int reuse = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  return base::bind_to_port(socket, packet::udp::port_server);
}

}  // namespace

void drain_socket() {
  const int socket = dhcps_cfg.sock;
  if (socket <= 0) return;
  pollfd wait{socket, POLLIN, 0};
  if (poll(&wait, 1, socket_wait_ms) <= 0) return;
  const DescriptorLock lock;
  if (dhcps_cfg.sock != socket) return;
  char datagram[256];
  recvfrom(socket, datagram, sizeof datagram, MSG_DONTWAIT, nullptr, nullptr);
}

}  // namespace dhcp::server

int dhcp_server_open_socket() {
  using namespace dhcp::server;
  const DescriptorLock lock;
  close_held();
  const int descriptor = dhcp::base::os.socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    DHCP_LOG_AT(dhcp::base::module_frame, "dhcpc", "open dhcp server socket failed!!\n");
    fprintf(stderr, "open dhcp server socket failed!!\n");
    return -1;
  }
  dhcps_cfg.sock = descriptor;
  if (bind_to_server_port(descriptor)) return 0;
  // The socket stays: it is closed when the server is switched off.
  const char* reason = strerror(errno);
  DHCP_LOG_AT(dhcp::base::module_frame, "dhcpc", "dhcp server socket bind error : %s\n", reason);
  fprintf(stderr, "dhcp server socket bind error : %s\n", reason);
  return -1;
}

void dhcp_server_close_socket() {
  const dhcp::server::DescriptorLock lock;
  dhcp::server::close_held();
}
