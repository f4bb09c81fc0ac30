#include "softswitch/checksum.h"

#include <bit>
#include <cstring>

#include "softswitch/frame_map.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

uint16_t fold(uint64_t sum) {
  while (sum >> 16 != 0) sum = (sum & 0xffff) + (sum >> 16);
  return static_cast<uint16_t>(sum);
}

/// Sum of the addresses, the length and the protocol that both IP versions put before the segment.
uint32_t pseudo_header(std::span<const uint8_t> frame, const FrameMap& map) {
  const bool v4 = map.type == type_ipv4;
  const auto addresses = v4 ? frame.subspan(map.l3 + 12, 8) : frame.subspan(map.l3 + 8, 32);
  return ones_sum(addresses) + map.protocol + (map.end - map.l4);
}

}  // namespace

uint16_t ones_sum(std::span<const uint8_t> bytes, uint32_t start) {
  // The sum does not depend on the order of the bytes in a word (RFC 1071 section 2 (B)): add in the machine's own
  // order, four bytes a step, and turn the result round at the end.
  uint64_t sum = 0;
  size_t at = 0;
  for (; bytes.size() - at >= 4; at += 4) {
    uint32_t word;
    std::memcpy(&word, &bytes[at], 4);
    sum += word;
  }
  uint8_t tail[4] = {};
  if (at < bytes.size()) {
    std::memcpy(tail, &bytes[at], bytes.size() - at);
    uint32_t word;
    std::memcpy(&word, tail, 4);
    sum += word;
  }
  uint16_t folded = fold(sum);
  if constexpr (std::endian::native == std::endian::little) folded = static_cast<uint16_t>(folded << 8 | folded >> 8);
  return fold(uint64_t{folded} + start);
}

bool finish_checksum(std::span<uint8_t> frame) {
  const FrameMap map = map_frame(frame);
  if (!map.sound || map.l4 == 0) return false;
  const bool udp = map.protocol == protocol_udp;
  if (!udp && map.protocol != protocol_tcp) return false;
  const uint32_t field = map.l4 + (udp ? 6 : 16);
  if (field + 2 > map.end) return false;
  store_be16(&frame[field], 0);
  const uint16_t sum = ones_sum(frame.subspan(map.l4, map.end - map.l4), pseudo_header(frame, map));
  uint16_t value = static_cast<uint16_t>(~sum);
  if (udp && value == 0) value = 0xffff;  // RFC 768: zero means that there is none
  store_be16(&frame[field], value);
  return true;
}

}  // namespace dhcp::softswitch
