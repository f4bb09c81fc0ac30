/// An IPv6 address as a value: sixteen bytes as on the wire, compared as the number that they are.
#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace dhcp::base {

struct Ip6 {
  std::array<uint8_t, 16> bytes{};

  static Ip6 from(const uint8_t* sixteen_bytes) {
    Ip6 ip;
    std::copy_n(sixteen_bytes, ip.bytes.size(), ip.bytes.begin());
    return ip;
  }
  void copy_to(uint8_t* sixteen_bytes) const { std::copy(bytes.begin(), bytes.end(), sixteen_bytes); }

  bool operator==(const Ip6&) const = default;
  // The linter takes the comparison that the compiler writes for a pointer's.
  std::strong_ordering operator<=>(const Ip6&) const = default;  // NOLINT(modernize-use-nullptr)

  bool is_zero() const { return *this == Ip6{}; }
  bool is_multicast() const { return bytes[0] == 0xff; }

  /// True when the first `bits` (0..128) are those of `network`.
  bool in_prefix(const Ip6& network, unsigned bits) const {
    const size_t whole = std::min<size_t>(bits / 8, bytes.size());
    if (!std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(whole), network.bytes.begin())) {
      return false;
    }
    if (whole == bytes.size() || bits % 8 == 0) return true;
    return ((bytes[whole] ^ network.bytes[whole]) >> (8 - bits % 8)) == 0;
  }

  /// The address behind this one; after the last comes zero.
  Ip6 next() const {
    Ip6 ip = *this;
    for (size_t i = ip.bytes.size(); i > 0 && ++ip.bytes[i - 1] == 0; --i) continue;
    return ip;
  }

  /// The last address that agrees in the first `bits` (0..128).
  Ip6 last_in_prefix(unsigned bits) const {
    Ip6 ip = *this;
    for (unsigned bit = bits; bit < 8 * ip.bytes.size(); ++bit) {
      ip.bytes[bit / 8] = static_cast<uint8_t>(ip.bytes[bit / 8] | 0x80u >> bit % 8);
    }
    return ip;
  }

  /// Spreads neighbouring addresses over a table; its high bits are the good ones.
  uint32_t hash() const {
    uint32_t mixed = 0;
    for (size_t i = 0; i < 4; ++i) mixed = (mixed ^ word(i)) * 0x9e3779b1u;
    return mixed;
  }

  /// The four 32-bit words of the address, the first bytes in word 0.
  uint32_t word(size_t index) const {
    const uint8_t* at = &bytes[4 * index];
    return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
  }
  uint32_t last32() const { return word(3); }
};

/// The address behind `ip`; nothing behind the last one there is.
inline std::optional<Ip6> behind(const Ip6& ip) {
  const Ip6 next = ip.next();
  return next.is_zero() ? std::nullopt : std::optional(next);
}

}  // namespace dhcp::base
