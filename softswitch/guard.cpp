#include "softswitch/guard.h"

#include <algorithm>
#include <cstring>

#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t ip_size = 20, ip_source_at = 12, arp_size = 28;
constexpr size_t ip6_size = 40, ip6_source_at = 8;
constexpr uint16_t dhcp_server_port = 67, dhcp6_server_port = 547;

template <class Host>
bool same_mac(const Host& host, const uint8_t* mac) {
  return std::memcmp(host.mac.data(), mac, mac_size) == 0;
}

/// Whether any VLAN's entry for the address names this MAC.
bool vouched(const HostTable& table, uint32_t port, uint32_t ip, const uint8_t* mac) {
  for (const KnownHost* host = table.first(port, ip); host != nullptr; host = table.next(host))
    if (same_mac(*host, mac)) return true;
  return false;
}

/// What the entries for a frame's address say against its sender; nothing when one of them is the sender's.
class Search {
 public:
  Search(const uint8_t* mac, uint16_t vlan) : mac_(mac), vlan_(vlan) {}
  template <class Host>
  bool finds(const Host& host) {
    const bool mac_fits = same_mac(host, mac_);
    if (mac_fits && host.vlan == vlan_) return true;
    if (mac_fits) reason_ = GuardDrop::other_vlan;
    if (reason_ == GuardDrop::unknown) reason_ = GuardDrop::other_mac;
    return false;
  }
  GuardDrop reason() const { return reason_; }

 private:
  const uint8_t* mac_;
  uint16_t vlan_;
  GuardDrop reason_ = GuardDrop::unknown;
};

bool is_unspecified(const uint8_t* ip6) {
  return std::all_of(ip6, ip6 + 16, [](uint8_t byte) { return byte == 0; });
}
bool is_link_local(const uint8_t* ip6) { return ip6[0] == 0xfe && (ip6[1] & 0xc0) == 0x80; }  // RFC 4291 section 2.5.6

/// What a host says before it has any address: it looks for routers, tries an address (RFC 4861 sections 4.1 and 4.3)
/// and joins the groups for that (RFC 2710 section 3, RFC 3810 section 5.2).
bool is_first_word(const FrameMap& map) {
  constexpr uint8_t report = 131, done = 132, router_solicitation = 133, neighbour_solicitation = 135, report2 = 143;
  constexpr uint8_t types[] = {report, done, router_solicitation, neighbour_solicitation, report2};
  return std::find(std::begin(types), std::end(types), map.icmp6) != std::end(types);
}

/// What a host must be able to say from a link-local address, which nobody gave it, to come by any other.
bool is_local_necessity(const FrameMap& map) {
  constexpr uint8_t neighbour_advertisement = 136;
  return is_first_word(map) || map.icmp6 == neighbour_advertisement || map.udp_to == dhcp6_server_port;
}

/// Ethernet and IPv4, with the lengths of their addresses (RFC 826).
bool is_ethernet_ip(std::span<const uint8_t> arp) {
  static constexpr uint8_t begin[] = {0, 1, 8, 0, 6, 4};
  return arp.size() >= arp_size && std::memcmp(arp.data(), begin, sizeof begin) == 0;
}

}  // namespace

void Guard::set_arp_check(uint32_t port, bool on) {
  set(checked_, port, on);
  if (!on) hosts(HostList::arp_check).remove_interface(port);
}

void Guard::clear_counters(GuardKind kind) {
  for (GuardCounters& counters : counters_) counters.of(kind) = {};
}

bool Guard::judged(uint32_t port, uint16_t vlan, const uint8_t* source, std::span<const uint8_t> body,
                   const FrameMap& map) {
  const uint16_t type = body.size() < 2 ? uint16_t{0} : load_be16(body.data());
  std::optional<GuardDrop> drop;
  GuardKind kind;
  if (type == type_ipv4 && source_guarded(port)) {
    kind = GuardKind::source;
    drop = judge_source(port, vlan, source, body.subspan(2), map.udp_to);
  } else if (type == type_ipv6 && (guarded6_ & port_bit(port)) != 0) {
    kind = GuardKind::source6;
    drop = judge_source6(port, vlan, source, body.subspan(2), map);
  } else if (type == type_arp && arp_checked(port)) {
    kind = GuardKind::arp;
    drop = judge_arp(port, source, body.subspan(2));
  } else {
    return true;
  }
  GuardCounters::Counts& counts = counters_[port].of(kind);
  if (!drop) {
    ++counts.passed;
    return true;
  }
  ++counts.dropped[static_cast<size_t>(*drop)];
  return false;
}

/// Address, MAC and VLAN must be those of one entry of the port.
std::optional<GuardDrop> Guard::judge_source(uint32_t port, uint16_t vlan, const uint8_t* source,
                                             std::span<const uint8_t> ip, uint16_t udp_to) const {
  if (ip.size() < ip_size || ip[0] >> 4 != 4) return GuardDrop::malformed;
  const uint32_t address = load_be32(&ip[ip_source_at]);
  if (address == 0 && udp_to == dhcp_server_port) return {};  // a client without an address (RFC 2131 section 4.1)
  const HostTable& sources = table(HostList::source_guard);
  Search search(source, vlan);
  for (const KnownHost* host = sources.first(port, address); host != nullptr; host = sources.next(host))
    if (search.finds(*host)) return {};
  return search.reason();
}

/// The same for IPv6, where a host also has link-local addresses of its own making: they may be used for whatever it
/// takes to get an address, and by a host that has one on this port and VLAN for anything.
std::optional<GuardDrop> Guard::judge_source6(uint32_t port, uint16_t vlan, const uint8_t* source,
                                              std::span<const uint8_t> ip, const FrameMap& map) const {
  if (ip.size() < ip6_size || ip[0] >> 4 != 6) return GuardDrop::malformed;
  const uint8_t* const address = &ip[ip6_source_at];
  Search search(source, vlan);
  if (is_unspecified(address)) {
    if (is_first_word(map)) return {};
  } else if (is_link_local(address)) {
    if (is_local_necessity(map)) return {};
    for (const KnownHost6& host : hosts6_.on(port))
      if (host.vlan == vlan && same_mac(host, source)) return {};
  } else {
    for (const KnownHost6& host : hosts6_.with(port, address))
      if (search.finds(host)) return {};
  }
  return search.reason();
}

/// The sender must be the one who sent the frame, and an entry of the port must name him with this address. A probe
/// (RFC 5227 section 1.1) claims no address.
std::optional<GuardDrop> Guard::judge_arp(uint32_t port, const uint8_t* source, std::span<const uint8_t> arp) const {
  if (!is_ethernet_ip(arp)) return GuardDrop::malformed;
  const uint8_t* const sender = &arp[8];
  const uint32_t address = load_be32(&arp[14]);
  if (std::memcmp(sender, source, mac_size) != 0) return GuardDrop::other_sender;
  if (address == 0 && load_be16(&arp[6]) == arp_request) return {};
  const HostTable &arp_check = table(HostList::arp_check), &fixed_arp = table(HostList::fixed_arp);
  if (vouched(arp_check, port, address, sender) || vouched(fixed_arp, port, address, sender)) return {};
  const bool known = arp_check.first(port, address) != nullptr || fixed_arp.first(port, address) != nullptr;
  return known ? GuardDrop::other_mac : GuardDrop::unknown;
}

}  // namespace dhcp::softswitch
