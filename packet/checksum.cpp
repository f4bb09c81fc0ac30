/// Internet checksum of the headers that the module completes itself (RFC 1071).
#include "dhcp/packet.h"
#include "packet/bytes.h"

int16_t check_sum(const void* buf, int len) {
  const auto* p = static_cast<const uint8_t*>(buf);
  uint32_t sum = 0;
  for (int left = len; left > 0; left -= 2, p += 2) {
    // A last odd byte is summed with the byte behind it, which the caller keeps at zero.
    sum += dhcp::packet::load_be16(p);
  }
  sum = (sum >> 16) + (sum & 0xffff);
  sum += sum >> 16;
  return static_cast<int16_t>(static_cast<uint16_t>(~sum));
}
