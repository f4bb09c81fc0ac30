/// Address and MAC of a network interface, asked anew every time: the operator may change them while the module runs.
#include "packet/nic.h"

#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/os.h"
#include "dhcp/packet.h"

namespace {

namespace base = dhcp::base;

ifreq question(const char* ifname) {
  ifreq request{};
  memcpy(request.ifr_name, ifname, std::min(strlen(ifname), sizeof request.ifr_name - 1));
  request.ifr_addr.sa_family = AF_INET;
  return request;
}

bool query_ip(int socket, ifreq& request, uint32_t& ip_out) {
  if (base::os.query_interface(socket, SIOCGIFADDR, &request) != 0) return false;
  sockaddr_in address{};
  memcpy(&address, &request.ifr_addr, sizeof address);
  ip_out = address.sin_addr.s_addr;
  return true;
}

bool query_mac(int socket, ifreq& request, uint8_t* mac_out) {
  if (base::os.query_interface(socket, SIOCGIFHWADDR, &request) != 0) return false;
  memcpy(mac_out, request.ifr_hwaddr.sa_data, 6);
  return true;
}

bool told_ip(int socket, ifreq& request, uint32_t& ip_out) {
  if (query_ip(socket, request, ip_out)) return true;
  ip_out = 0;
  printf("%s\r\n ioctl getip failed!\r\n", strerror(errno));
  return false;
}

bool told_mac(int socket, ifreq& request, uint8_t* mac_out) {
  if (query_mac(socket, request, mac_out)) return true;
  printf("%s\r\n ioctl getmac failed!\r\n", strerror(errno));
  return false;
}

int open_query() { return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0); }

std::atomic<int> kept_query{-1};

/// The socket that is kept, or -1.
int kept() {
  int query = kept_query.load();
  if (query >= 0) return query;
  const int opened = open_query();
  if (opened < 0 || kept_query.compare_exchange_strong(query, opened)) return opened;
  close(opened);
  return query;
}

bool query_kept(const char* ifname, uint32_t* wire_ip_out, uint8_t* mac_out) {
  int query = kept();
  if (query < 0) return false;
  ifreq request = question(ifname);
  if ((wire_ip_out == nullptr || query_ip(query, request, *wire_ip_out)) &&
      (mac_out == nullptr || query_mac(query, request, mac_out))) {
    return true;
  }
  // A host that closed what it did not open has taken the descriptor away: it is nobody's, or somebody else's.
  if (errno == EBADF || errno == ENOTTY) kept_query.compare_exchange_strong(query, -1);
  return false;
}

}  // namespace

namespace dhcp::packet {

int own_nic(const char* ifname, uint32_t* wire_ip_out, uint8_t* mac_out) {
  // The second way is slower, and tells the console why there is no answer.
  return query_kept(ifname, wire_ip_out, mac_out) ? 0 : get_nic_address(ifname, wire_ip_out, mac_out);
}

std::optional<base::MacAddress> own_mac(const char* ifname) {
  base::MacAddress mac;
  if (own_nic(ifname, nullptr, mac.bytes.data()) != 0) return std::nullopt;
  return mac;
}

void close_own_nic() {
  const int query = kept_query.exchange(-1);
  if (query >= 0) close(query);
}

}  // namespace dhcp::packet

int get_nic_address(const char* ifname, uint32_t* ip_out, uint8_t* mac_out) {
  const int query = open_query();
  if (query < 0) {
    printf(" get_nic_address[%s] failed! %s \r\n", ifname, strerror(errno));
    return -1;
  }
  ifreq request = question(ifname);
  bool done = ip_out == nullptr || told_ip(query, request, *ip_out);
  done = done && (mac_out == nullptr || told_mac(query, request, mac_out));
  close(query);
  return done ? 0 : -1;
}
