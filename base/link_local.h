/// The link-local address that Linux gives an interface by its MAC.
#pragma once

#include "base/ip6.h"
#include "base/mac.h"

namespace dhcp::base {

/// fe80::/64 and the MAC as an interface identifier (RFC 4291 appendix A).
inline Ip6 link_local(const MacAddress& mac) {
  const auto& m = mac.bytes;
  constexpr uint8_t universal_bit = 2;
  return {{0xfe, 0x80, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(m[0] ^ universal_bit), m[1], m[2], 0xff, 0xfe, m[3], m[4],
           m[5]}};
}

}  // namespace dhcp::base
