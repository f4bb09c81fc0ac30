#include "softswitch/net_config.h"

#include <arpa/inet.h>
#include <linux/ethtool.h>
#include <linux/ipv6.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/route.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace dhcp::softswitch {
namespace {

/// A socket to ask the kernel through, for one call.
class Asking {
 public:
  explicit Asking(int family) : fd_(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
  ~Asking() {
    if (fd_ >= 0) close(fd_);
  }
  Asking(const Asking&) = delete;
  Asking& operator=(const Asking&) = delete;
  template <class Request>
  std::string call(unsigned long what, Request& request) const {
    return ioctl(fd_, what, &request) == 0 ? std::string() : std::strerror(errno);
  }

 private:
  int fd_;
};

ifreq request_for(const std::string& name) {
  ifreq request{};
  name.copy(request.ifr_name, IFNAMSIZ - 1);
  return request;
}

sockaddr ipv4_address(uint32_t ip) {
  sockaddr_in in{};
  in.sin_family = AF_INET;
  in.sin_addr.s_addr = htonl(ip);
  sockaddr out{};
  std::memcpy(&out, &in, sizeof in);
  return out;
}

/// Kernel switches are set where the system allows it; the switch works without them.
void set_switch(const char* family, const std::string& name, const char* what, int value) {
  const std::string path = std::string("/proc/sys/net/") + family + "/conf/" + name + "/" + what;
  FILE* const file = std::fopen(path.c_str(), "we");
  if (file == nullptr) return;
  std::fprintf(file, "%d\n", value);
  std::fclose(file);
}

std::string set_flags(const std::string& name, short flags) {
  const Asking ask(AF_INET);
  ifreq request = request_for(name);
  std::string refused = ask.call(SIOCGIFFLAGS, request);
  if (!refused.empty() || (request.ifr_flags & flags) == flags) return refused;
  request.ifr_flags = static_cast<short>(request.ifr_flags | flags);
  return ask.call(SIOCSIFFLAGS, request);
}

/// Frames merged on reception would not fit the ring, nor leave the switch as they came.
void stop_merging(const std::string& name) {
  const Asking ask(AF_INET);
  for (const int command : {ETHTOOL_SGRO, ETHTOOL_SGSO, ETHTOOL_STSO}) {
    ethtool_value value{static_cast<uint32_t>(command), 0};
    ifreq request = request_for(name);
    request.ifr_data = reinterpret_cast<char*>(&value);
    ask.call(SIOCETHTOOL, request);
  }
}

}  // namespace

std::string bring_up(const std::string& name) {
  set_switch("ipv6", name, "disable_ipv6", 1);
  stop_merging(name);
  return set_flags(name, IFF_UP | IFF_NOARP);  // or the kernel would answer on the port for the CPU's addresses
}

std::string bring_up_host(const std::string& name) {
  for (const char* what : {"accept_ra", "autoconf", "accept_dad", "accept_redirects"})
    set_switch("ipv6", name, what, 0);
  set_switch("ipv4", name, "rp_filter", 0);
  set_switch("ipv4", name, "arp_ignore", 1);    // each interface answers for the address it bears,
  set_switch("ipv4", name, "arp_announce", 2);  // and asks in its name
  stop_merging(name);
  return set_flags(name, IFF_UP);
}

bool is_running(const std::string& name) {
  const Asking ask(AF_INET);
  ifreq request = request_for(name);
  constexpr int wanted = IFF_UP | IFF_RUNNING;
  return ask.call(SIOCGIFFLAGS, request).empty() && (request.ifr_flags & wanted) == wanted;
}

std::string set_ipv4(const std::string& name, uint32_t ip, uint32_t mask) {
  const Asking ask(AF_INET);
  ifreq request = request_for(name);
  request.ifr_addr = ipv4_address(ip);
  std::string refused = ask.call(SIOCSIFADDR, request);
  if (!refused.empty() || ip == 0) return refused;
  request.ifr_netmask = ipv4_address(mask);
  return ask.call(SIOCSIFNETMASK, request);
}

bool parse_prefix(const std::string& text, uint8_t ip6[16], unsigned& length) {
  const size_t slash = text.find('/');
  if (slash == std::string::npos) return false;
  const char* const first = text.data() + slash + 1;
  const char* const last = text.data() + text.size();
  const auto parsed = std::from_chars(first, last, length);
  if (parsed.ec != std::errc() || parsed.ptr != last || length > 128) return false;
  return inet_pton(AF_INET6, text.substr(0, slash).c_str(), ip6) == 1;
}

std::string set_ipv6(const std::string& name, const std::string& addr_slash_len, bool on) {
  struct {
    in6_addr address;
    uint32_t length;
    int index;
  } request{};  // the kernel's struct in6_ifreq
  unsigned length = 0;
  if (!parse_prefix(addr_slash_len, request.address.s6_addr, length)) return "not an IPv6 address and length";
  request.length = length;
  request.index = static_cast<int>(if_nametoindex(name.c_str()));
  std::string refused = Asking(AF_INET6).call(on ? SIOCSIFADDR : SIOCDIFADDR, request);
  return on && refused == std::strerror(EEXIST) ? std::string() : refused;
}

std::string set_default_route(const std::string& name, uint32_t gateway, int metric, bool on) {
  rtentry route{};
  route.rt_dst = route.rt_genmask = ipv4_address(0);
  route.rt_gateway = ipv4_address(gateway);
  route.rt_flags = RTF_UP | RTF_GATEWAY;
  route.rt_metric = static_cast<short>(metric + 1);
  std::string device = name;
  route.rt_dev = device.data();
  return Asking(AF_INET).call(on ? SIOCADDRT : SIOCDELRT, route);
}

std::string set_default_route6(const std::string& name, const std::string& gateway, int metric, bool on) {
  in6_rtmsg route{};
  if (inet_pton(AF_INET6, gateway.c_str(), &route.rtmsg_gateway) != 1) return "not an IPv6 address";
  route.rtmsg_flags = RTF_UP | RTF_GATEWAY;
  route.rtmsg_metric = static_cast<uint32_t>(metric);
  route.rtmsg_ifindex = static_cast<int>(if_nametoindex(name.c_str()));
  return Asking(AF_INET6).call(on ? SIOCADDRT : SIOCDELRT, route);
}

}  // namespace dhcp::softswitch
