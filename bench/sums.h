/// One's-complement sums (RFC 1071) in memory order: cheaper than the wire's, and the same once stored.
#pragma once

#include <cstdint>
#include <cstring>

namespace dhcp::bench {

/// Adds a buffer to a sum; only the last buffer of a sum may have an odd length.
inline uint64_t sum_of(const uint8_t* bytes, size_t size, uint64_t sum) {
  for (; size >= 4; size -= 4, bytes += 4) {
    uint32_t word;
    memcpy(&word, bytes, 4);
    sum += word;
  }
  if (size >= 2) {
    uint16_t word;
    memcpy(&word, bytes, 2);
    sum += word;
    size -= 2, bytes += 2;
  }
  if (size == 1) {
    const uint8_t padded[2] = {*bytes, 0};
    uint16_t word;
    memcpy(&word, padded, 2);
    sum += word;
  }
  return sum;
}

/// Folded and complemented.
inline void put_sum(uint8_t* at, uint64_t sum) {
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  const auto complement = static_cast<uint16_t>(~sum);
  memcpy(at, &complement, 2);
}

}  // namespace dhcp::bench
