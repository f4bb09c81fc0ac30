#include "softswitch/vlan_interfaces.h"

#include <net/if.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <bit>
#include <cstring>

#include "softswitch/cancel_hold.h"
#include "softswitch/fabric.h"
#include "softswitch/net_config.h"
#include "softswitch/netlink.h"

namespace dhcp::softswitch {
namespace {

constexpr const char* host = "eth0";
constexpr const char* inner = "cpu";
constexpr int route_metric = 1000;  // gives way to whatever else the system has

std::string inner_interface(uint16_t vlan) { return inner + ("." + std::to_string(vlan)); }

Refusal refusal(const std::string& what, const std::string& why) {
  if (why.empty()) return std::nullopt;
  return what + ": " + why;
}

/// Whether a router is next door to an interface with this address; every interface has a link-local one.
bool next_door(const std::string& router, const std::string& addr_slash_len) {
  uint8_t at[16], own[16];
  unsigned whole, length;
  if (!parse_prefix(router + "/128", at, whole)) return false;
  if (at[0] == 0xfe && (at[1] & 0xc0) == 0x80) return true;
  if (!parse_prefix(addr_slash_len, own, length) || length == 0) return false;
  const unsigned bytes = length / 8, bits = length % 8;
  return std::memcmp(at, own, bytes) == 0 && (bits == 0 || ((at[bytes] ^ own[bytes]) >> (8 - bits)) == 0);
}

Refusal no_interface(uint16_t vlan) { return "there is no interface vlan " + std::to_string(vlan); }

/// An abstract socket name belongs to one network namespace and is gone when its holder is, however it ended.
int claim_namespace() {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  constexpr char name[] = "\0softswitch";
  std::memcpy(address.sun_path, name, sizeof name);
  constexpr socklen_t size = offsetof(sockaddr_un, sun_path) + sizeof name;
  if (fd >= 0 && bind(fd, reinterpret_cast<const sockaddr*>(&address), size) == 0) return fd;
  if (fd >= 0) close(fd);
  return -1;
}

sysmng_vlan_info as_told(const VlanInterface& interface, const std::string& leased_ip6) {
  sysmng_vlan_info told{};
  told.vlan = interface.vlan;
  told.ip = interface.ip;
  told.mask = interface.mask;
  told.gateway = interface.gateway;
  const std::string& ip6 = interface.ip6.empty() ? leased_ip6 : interface.ip6;
  uint8_t address[16];
  unsigned length = 0;
  if (!parse_prefix(ip6, address, length)) return told;
  told.prefix6 = static_cast<uint8_t>(length);
  ip6.copy(told.ip6, ip6.find('/'));
  interface.gateway6.copy(told.gateway6, sizeof told.gateway6 - 1);
  return told;
}

}  // namespace

std::string host_interface(uint16_t vlan) { return host + ("." + std::to_string(vlan)); }

VlanInterfaces& vlan_interfaces() {
  static VlanInterfaces the_interfaces;
  return the_interfaces;
}

Refusal VlanInterfaces::setup(const std::array<uint8_t, 6>& mac) {
  const HeldLock changing(changing_);
  claim_ = claim_namespace();
  if (claim_ < 0) return "another switch runs in this network namespace";
  // A switch that was killed leaves its pair behind; an eth0 without our inner end is somebody else's.
  if (if_nametoindex(inner) != 0) netlink_delete(inner);
  if (if_nametoindex(host) != 0)
    return "there is an eth0 here that is not the switch's own; run the switch in a network namespace of its own:\n"
           "  ip netns add switch && ip netns exec switch softswitch ...\n"
           "  unshare --net softswitch ...";
  mac_ = mac;
  const std::string why = netlink_create_pair(host, inner, mac);
  if (!why.empty()) return refusal("eth0", why);
  made_ = true;
  bring_up(inner);
  return refusal("eth0", bring_up_host(host));
}

void VlanInterfaces::clear() {
  for (const VlanInterface& interface : list()) remove(interface.vlan);
  const HeldLock changing(changing_);
  if (made_) netlink_delete(host);
  made_ = false;
  if (claim_ >= 0) close(claim_);
  claim_ = -1;
}

/// Changes one entry, and what is derived from them.
template <class Change>
void VlanInterfaces::store(uint16_t vlan, Change change) {
  const std::lock_guard guard(lock_);
  Entry& changed = entries_[vlan];
  change(changed);
  changed.told = as_told(changed.shown, changed.leased_ip6);
  by_ip_.clear();
  for (const auto& [id, entry] : entries_)
    if (entry.shown.ip != 0) by_ip_[entry.shown.ip] = id;
}

Refusal VlanInterfaces::create(uint16_t vlan) {
  const HeldLock changing(changing_);
  if (exists(vlan)) return std::nullopt;
  const std::string outside = host_interface(vlan), inside = inner_interface(vlan);
  if (if_nametoindex(inside.c_str()) != 0) netlink_delete(inside);  // left behind by a switch that was killed
  std::string why = netlink_create_pair(outside, inside, mac_);
  if (!why.empty()) return refusal(outside, why);
  why = fabric().open_cpu_device(vlan, inside);
  if (why.empty()) why = bring_up_host(outside);
  if (!why.empty()) {
    fabric().close_cpu_device(vlan);
    netlink_delete(outside);
    return refusal(outside, why);
  }
  store(vlan, [=](Entry& entry) { entry.shown.vlan = vlan; });
  return std::nullopt;
}

Refusal VlanInterfaces::remove(uint16_t vlan) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  fabric().close_cpu_device(vlan);
  netlink_delete(host_interface(vlan));
  const std::lock_guard guard(lock_);
  by_ip_.erase(entries_[vlan].shown.ip);
  entries_.erase(vlan);
  return std::nullopt;
}

Refusal VlanInterfaces::check_ip(uint16_t vlan, uint32_t ip, uint32_t mask) const {
  if (std::popcount(mask) != std::countl_one(mask) || mask == 0) return "the mask is not one of leading ones";
  if (ip >> 28 >= 14 || ip >> 24 == 0 || ip >> 24 == 127) return "not an address for an interface";
  if (mask < 0xfffffffe && ((ip & ~mask) == 0 || (ip | mask) == 0xffffffff)) return "not a host's address";
  for (const auto& [id, entry] : entries_) {
    const uint32_t common = mask & entry.shown.mask;
    if (id != vlan && entry.shown.ip != 0 && ((ip ^ entry.shown.ip) & common) == 0)
      return "the network overlaps that of interface vlan " + std::to_string(id);
  }
  return std::nullopt;
}

Refusal VlanInterfaces::set_ip(uint16_t vlan, uint32_t ip, uint32_t mask) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  if (ip != 0)
    if (Refusal why = check_ip(vlan, ip, mask)) return why;
  const VlanInterface before = entries_[vlan].shown;
  const std::string name = host_interface(vlan);
  const std::string why = set_ipv4(name, ip, mask);
  if (!why.empty()) {
    set_ipv4(name, before.ip, before.mask);
    return refusal(name, why);
  }
  // The kernel dropped the route with the old address; a gateway that is still next door gets it back.
  const bool keeps = ip != 0 && before.gateway != 0 && ((before.gateway ^ ip) & mask) == 0;
  if (keeps) set_default_route(name, before.gateway, route_metric, true);
  store(vlan, [=](Entry& entry) {
    entry.shown.ip = ip;
    entry.shown.mask = ip == 0 ? 0 : mask;
    if (!keeps) entry.shown.gateway = 0;
  });
  return std::nullopt;
}

Refusal VlanInterfaces::set_gateway(uint16_t vlan, uint32_t gateway) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  const VlanInterface before = entries_[vlan].shown;
  if (gateway != 0 && (before.ip == 0 || ((gateway ^ before.ip) & before.mask) != 0))
    return "the gateway is not on the interface's network";
  const std::string name = host_interface(vlan);
  if (before.gateway != 0) set_default_route(name, before.gateway, route_metric, false);
  const std::string why = gateway == 0 ? "" : set_default_route(name, gateway, route_metric, true);
  if (!why.empty()) {
    if (before.gateway != 0) set_default_route(name, before.gateway, route_metric, true);
    return refusal(name, why);
  }
  store(vlan, [=](Entry& entry) { entry.shown.gateway = gateway; });
  return std::nullopt;
}

Refusal VlanInterfaces::replace_ip6(uint16_t vlan, const std::string& before, const std::string& after) const {
  uint8_t parsed[16];
  unsigned length;
  if (!after.empty() && !parse_prefix(after, parsed, length)) return "not an IPv6 address and length";
  const std::string name = host_interface(vlan);
  if (!before.empty()) set_ipv6(name, before, false);
  const std::string why = after.empty() ? "" : set_ipv6(name, after, true);
  if (!why.empty() && !before.empty()) set_ipv6(name, before, true);
  return refusal(name, why);
}

Refusal VlanInterfaces::set_ip6(uint16_t vlan, const std::string& addr_slash_len) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  if (Refusal why = replace_ip6(vlan, entries_[vlan].shown.ip6, addr_slash_len)) return why;
  const std::string gateway = entries_[vlan].shown.gateway6;
  const bool keeps = gateway.empty() || next_door(gateway, addr_slash_len);
  if (!keeps) set_default_route6(host_interface(vlan), gateway, route_metric, false);
  store(vlan, [&](Entry& entry) {
    entry.shown.ip6 = addr_slash_len;
    if (!keeps) entry.shown.gateway6.clear();
  });
  return std::nullopt;
}

Refusal VlanInterfaces::set_gateway6(uint16_t vlan, const std::string& addr) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  const VlanInterface before = entries_[vlan].shown;
  if (!addr.empty() && !next_door(addr, before.ip6)) return "the gateway is not on the interface's network";
  const std::string name = host_interface(vlan);
  if (!before.gateway6.empty()) set_default_route6(name, before.gateway6, route_metric, false);
  const std::string why = addr.empty() ? "" : set_default_route6(name, addr, route_metric, true);
  if (!why.empty()) {
    if (!before.gateway6.empty()) set_default_route6(name, before.gateway6, route_metric, true);
    return refusal(name, why);
  }
  store(vlan, [&](Entry& entry) { entry.shown.gateway6 = addr; });
  return std::nullopt;
}

Refusal VlanInterfaces::set_leased_ip6(uint16_t vlan, const std::string& addr_slash_len) {
  const HeldLock changing(changing_);
  if (!exists(vlan)) return no_interface(vlan);
  if (Refusal why = replace_ip6(vlan, entries_[vlan].leased_ip6, addr_slash_len)) return why;
  store(vlan, [&](Entry& entry) { entry.leased_ip6 = addr_slash_len; });
  return std::nullopt;
}

std::vector<VlanInterface> VlanInterfaces::list() const {
  const std::lock_guard guard(lock_);
  std::vector<VlanInterface> interfaces;
  for (const auto& [vlan, entry] : entries_) interfaces.push_back(entry.shown);
  return interfaces;
}

bool VlanInterfaces::find(uint32_t vlan, sysmng_vlan_info& out) const {
  const std::lock_guard guard(lock_);
  const auto at = vlan <= max_vlan ? entries_.find(static_cast<uint16_t>(vlan)) : entries_.end();
  if (at == entries_.end()) return false;
  out = at->second.told;
  return true;
}

bool VlanInterfaces::exists(uint32_t vlan) const {
  const std::lock_guard guard(lock_);
  return vlan <= max_vlan && entries_.count(static_cast<uint16_t>(vlan)) != 0;
}

uint32_t VlanInterfaces::vlan_of(uint32_t ip) const {
  const std::lock_guard guard(lock_);
  const auto at = by_ip_.find(ip);
  return at == by_ip_.end() ? 0 : at->second;
}

uint32_t VlanInterfaces::vlan_of(const uint8_t ip6[16]) const {
  const std::lock_guard guard(lock_);
  uint8_t own[16];
  unsigned length;
  for (const auto& [vlan, entry] : entries_)
    for (const std::string* text : {&entry.shown.ip6, &entry.leased_ip6})
      if (parse_prefix(*text, own, length) && std::memcmp(own, ip6, sizeof own) == 0) return vlan;
  return 0;
}

}  // namespace dhcp::softswitch
