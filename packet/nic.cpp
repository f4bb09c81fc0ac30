/// Address and MAC of a network interface, asked again and again: the operator may change them while the module runs.
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

/// What the kernel last told this thread of an interface.
struct Known {
  char ifname[IFNAMSIZ];
  bool has_ip, has_mac;
  uint64_t since_us;
  uint32_t wire_ip;
  uint8_t mac[6];

  bool serves(const char* name, bool wants_ip, bool wants_mac, uint64_t now_us) const {
    return now_us - since_us < dhcp::packet::own_nic_serves_us && has_ip >= wants_ip && has_mac >= wants_mac &&
           strncmp(ifname, name, sizeof ifname) == 0;
  }
};
thread_local Known known{};

void know(const char* ifname, const uint32_t* wire_ip, const uint8_t* mac, uint64_t since_us) {
  known = {};
  strncpy(known.ifname, ifname, sizeof known.ifname - 1);
  known.since_us = since_us;
  known.has_ip = wire_ip != nullptr;
  known.has_mac = mac != nullptr;
  if (wire_ip != nullptr) known.wire_ip = *wire_ip;
  if (mac != nullptr) std::copy_n(mac, sizeof known.mac, known.mac);
}

}  // namespace

namespace dhcp::packet {

int own_nic(const char* ifname, uint32_t* wire_ip_out, uint8_t* mac_out) {
  const uint64_t now_us = base::os.ticks_us();  // before the question: the answer is no older
  if (known.serves(ifname, wire_ip_out != nullptr, mac_out != nullptr, now_us)) {
    if (wire_ip_out != nullptr) *wire_ip_out = known.wire_ip;
    if (mac_out != nullptr) std::copy_n(known.mac, sizeof known.mac, mac_out);
    return 0;
  }
  if (query_kept(ifname, wire_ip_out, mac_out)) {
    know(ifname, wire_ip_out, mac_out, now_us);
    return 0;
  }
  // This way is slower, and tells the console why there is no answer.
  return get_nic_address(ifname, wire_ip_out, mac_out);
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
