/// Frames that the module builds around a DHCPv6 message: Ethernet with a tag, IPv6, UDP, the message at byte 66.
#pragma once

#include <cstdint>
#include <span>

#include "base/ip6.h"
#include "base/mac.h"
#include "packet/layout.h"

namespace dhcp::packet {

/// ff02::1:2, and its Ethernet address.
inline constexpr base::Ip6 all_dhcp6_servers{{0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2}};
inline constexpr base::MacAddress all_dhcp6_servers_mac{{0x33, 0x33, 0, 1, 0, 2}};

/// Room for every frame that is built; the buffer is its caller's.
inline constexpr size_t datagram6_room = 2048;

struct Datagram6 {
  base::MacAddress to_mac, from_mac;
  uint16_t vlan = 0;  // the whole tag control word: priority 0
  base::Ip6 from, to;
  uint16_t from_port = 0, to_port = 0;
  uint8_t hop_limit = 64;
};

/// Where in `frame` the message is built.
inline std::span<uint8_t> datagram6_message(std::span<uint8_t> frame) { return frame.subspan(tagged_dhcp6_offset); }

/// Writes all headers, lengths and the checksum around the `message_size` bytes that stand there. The result is the
/// frame, or empty when the buffer or a length field is too small for it.
std::span<uint8_t> finish_datagram6(std::span<uint8_t> frame, size_t message_size, const Datagram6& datagram);

}  // namespace dhcp::packet
