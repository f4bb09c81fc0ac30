/// The device's own IPv6 address on a VLAN, as the services write it into what they send.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>

#include "base/ip6.h"
#include "platform/sysmng.h"
#include "platform/text.h"

namespace dhcp::base {

/// An address that the device gave as text; nothing when there is none. The same one comes with every message, and is
/// taken apart once.
inline std::optional<Ip6> parse_ip6(const char* text) {
  struct Parsed {
    char text[64];
    Ip6 ip;
  };
  static thread_local Parsed last{};
  if (text[0] == '\0') return std::nullopt;
  if (strncmp(text, last.text, sizeof last.text) == 0) return last.ip;
  Ip6 ip;
  if (strtoip6(text, ip.bytes.data()) != 0) return std::nullopt;
  last.ip = ip;
  strncpy(last.text, text, sizeof last.text);
  if (last.text[sizeof last.text - 1] != '\0') last.text[0] = '\0';  // too long to be told from another
  return ip;
}

/// An address with the length of its prefix.
struct OwnIp6 {
  Ip6 ip;
  uint8_t prefix_len;
};

/// The configured address; nothing when the VLAN has no interface, or the interface no address.
inline std::optional<OwnIp6> own_ip6_prefix(uint32_t vlan) {
  sysmng_vlan_info info{};
  if (sysmng_vlan_info_get(vlan, &info) < 1) return std::nullopt;
  const auto ip = parse_ip6(info.ip6);
  return ip ? std::optional(OwnIp6{*ip, info.prefix6}) : std::nullopt;
}

inline std::optional<Ip6> own_ip6(uint32_t vlan) {
  const auto own = own_ip6_prefix(vlan);
  return own ? std::optional(own->ip) : std::nullopt;
}

}  // namespace dhcp::base
