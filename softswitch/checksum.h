/// The Internet checksum (RFC 1071), and checksums that a local kernel left for its network card to finish.
#pragma once

#include <cstdint>
#include <span>

namespace dhcp::softswitch {

/// Sum of the big-endian 16-bit words, folded to 16 bits; an odd last byte counts as the high half of a word.
uint16_t ones_sum(std::span<const uint8_t> bytes, uint32_t start = 0);

/// Writes the UDP or TCP checksum of an Ethernet frame (RFC 768, RFC 9293, RFC 8200 section 8.1) over whatever stands
/// there. A frame without a whole transport segment is left alone; false then.
bool finish_checksum(std::span<uint8_t> frame);

}  // namespace dhcp::softswitch
