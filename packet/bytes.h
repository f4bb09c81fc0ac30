/// Loads and stores of most-significant-byte-first numbers: the only conversions between the wire and numbers.
#pragma once

#include <cstdint>

namespace dhcp::packet {

inline uint16_t load_be16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t load_be24(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) << 16 | static_cast<uint32_t>(p[1]) << 8 | p[2];
}
inline uint32_t load_be32(const uint8_t* p) { return static_cast<uint32_t>(p[0]) << 24 | load_be24(p + 1); }

inline void store_be16(uint8_t* p, uint16_t value) {
  p[0] = static_cast<uint8_t>(value >> 8);
  p[1] = static_cast<uint8_t>(value);
}
inline void store_be24(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value >> 16);
  store_be16(p + 1, static_cast<uint16_t>(value));
}
inline void store_be32(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value >> 24);
  store_be24(p + 1, value);
}

}  // namespace dhcp::packet
