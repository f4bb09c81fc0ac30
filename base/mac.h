/// A hardware address as a value.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace dhcp::base {

struct MacAddress {
  std::array<uint8_t, 6> bytes{};

  static MacAddress from(const uint8_t* six_bytes) {
    MacAddress mac;
    std::copy_n(six_bytes, 6, mac.bytes.begin());
    return mac;
  }
  bool operator==(const MacAddress&) const = default;
  /// Multicast or broadcast: the address of a group, not of an interface.
  bool is_group() const { return (bytes[0] & 1) != 0; }
  bool is_broadcast() const { return *this == broadcast(); }
  static constexpr MacAddress broadcast() { return {{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}}; }
};

}  // namespace dhcp::base
