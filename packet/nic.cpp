/// Address and MAC of a network interface, asked anew every time: the operator may change them while the module runs.
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/os.h"
#include "dhcp/packet.h"

namespace {

namespace base = dhcp::base;

bool query_ip(int socket, ifreq& request, uint32_t& ip_out) {
  if (base::os.query_interface(socket, SIOCGIFADDR, &request) != 0) {
    ip_out = 0;
    printf("%s\r\n ioctl getip failed!\r\n", strerror(errno));
    return false;
  }
  sockaddr_in address{};
  memcpy(&address, &request.ifr_addr, sizeof address);
  ip_out = address.sin_addr.s_addr;
  return true;
}

bool query_mac(int socket, ifreq& request, uint8_t* mac_out) {
  if (base::os.query_interface(socket, SIOCGIFHWADDR, &request) != 0) {
    printf("%s\r\n ioctl getmac failed!\r\n", strerror(errno));
    return false;
  }
  memcpy(mac_out, request.ifr_hwaddr.sa_data, 6);
  return true;
}

}  // namespace

int get_nic_address(const char* ifname, uint32_t* ip_out, uint8_t* mac_out) {
  const int query = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (query < 0) {
    printf(" get_nic_address[%s] failed! %s \r\n", ifname, strerror(errno));
    return -1;
  }
  ifreq request{};
  memcpy(request.ifr_name, ifname, std::min(strlen(ifname), sizeof request.ifr_name - 1));
  request.ifr_addr.sa_family = AF_INET;
  bool done = ip_out == nullptr || query_ip(query, request, *ip_out);
  done = done && (mac_out == nullptr || query_mac(query, request, mac_out));
  close(query);
  return done ? 0 : -1;
}
