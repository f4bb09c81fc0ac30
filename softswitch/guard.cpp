#include "softswitch/guard.h"

#include <cstring>

#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t ip_size = 20, ip_source_at = 12, arp_size = 28;
constexpr uint16_t dhcp_server_port = 67;

bool same_mac(const KnownHost& host, const uint8_t* mac) { return std::memcmp(host.mac.data(), mac, mac_size) == 0; }

/// Whether any VLAN's entry for the address names this MAC.
bool vouched(const HostTable& table, uint32_t port, uint32_t ip, const uint8_t* mac) {
  for (const KnownHost* host = table.first(port, ip); host != nullptr; host = table.next(host))
    if (same_mac(*host, mac)) return true;
  return false;
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
                   uint16_t udp_to) {
  const uint16_t type = body.size() < 2 ? uint16_t{0} : load_be16(body.data());
  std::optional<GuardDrop> drop;
  GuardKind kind;
  if (type == type_ipv4 && source_guarded(port)) {
    kind = GuardKind::source;
    drop = judge_source(port, vlan, source, body.subspan(2), udp_to);
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
  GuardDrop reason = GuardDrop::unknown;
  for (const KnownHost* host = sources.first(port, address); host != nullptr; host = sources.next(host)) {
    const bool mac_fits = same_mac(*host, source);
    if (mac_fits && host->vlan == vlan) return {};
    if (mac_fits) reason = GuardDrop::other_vlan;
    if (reason == GuardDrop::unknown) reason = GuardDrop::other_mac;
  }
  return reason;
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
