/// Where the headers of an Ethernet frame lie: the one place that walks them.
#pragma once

#include <cstdint>
#include <span>

struct skpack;

namespace dhcp::softswitch {

/// Offsets count from the first byte of the frame. Everything named here lies inside the frame.
struct FrameMap {
  uint16_t type = 0;     // EtherType, behind the tag when there is one; 0 = not even an Ethernet header
  bool tagged = false;   // one 802.1Q tag stands at offset 12
  bool nested = false;   // a further tag stands behind it, or behind the one that came beside the frame
  bool sound = false;    // whole, unfragmented, and its lengths agree with each other
  uint8_t protocol = 0;  // IP protocol of the transport header
  uint32_t l3 = 0;       // behind the Ethernet header
  uint32_t l4 = 0;       // transport header, 0 = none is to be seen
  uint32_t end = 0;      // end of the IP packet by its own length, padding excluded; only when sound
  uint16_t udp_to = 0;   // UDP destination port, 0 = none
  uint8_t icmp6 = 0;     // ICMPv6 message type, 0 = none
};

/// Reads as far as the frame goes. The UDP port is also found in frames that are not sound: a frame cut short or
/// fragmented must not slip past the rule that would have trapped it (RFC 7610 section 3 is the IPv6 case).
FrameMap map_frame(std::span<const uint8_t> frame, bool tag_beside = false);

/// Fills the header pointers of a received frame. False when the frame is not a whole UDP datagram over IPv4 or IPv6.
bool point_headers(skpack& skp);

}  // namespace dhcp::softswitch
