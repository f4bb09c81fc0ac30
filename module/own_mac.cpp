#include "module/own_mac.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "base/os.h"
#include "dhcp/packet.h"

namespace dhcp::module {

namespace {

/// Stays open from one frame to the next: making and closing a socket costs more than all else that is done for one.
int query_socket = -1;

bool query(const char* ifname, base::MacAddress& mac) {
  if (query_socket < 0) query_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (query_socket < 0) return false;
  ifreq request{};
  memcpy(request.ifr_name, ifname, strnlen(ifname, sizeof request.ifr_name - 1));
  if (base::os.query_interface(query_socket, SIOCGIFHWADDR, &request) != 0) return false;
  memcpy(mac.bytes.data(), request.ifr_hwaddr.sa_data, mac.bytes.size());
  return true;
}

}  // namespace

std::optional<base::MacAddress> read_own_mac(const char* ifname) {
  base::MacAddress mac;
  // The second way is slower, and tells the console why there is no answer.
  if (query(ifname, mac) || get_nic_address(ifname, nullptr, mac.bytes.data()) == 0) return mac;
  return std::nullopt;
}

void close_own_mac_query() {
  const int descriptor = std::exchange(query_socket, -1);
  if (descriptor >= 0) close(descriptor);
}

}  // namespace dhcp::module
