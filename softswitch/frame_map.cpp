#include "softswitch/frame_map.h"

#include "platform/adp.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

constexpr uint32_t ip4_size = 20, ip6_size = 40, udp_size = 8;
constexpr int longest_chain = 8;  // IPv6 extension headers looked through

void map_udp(std::span<const uint8_t> frame, FrameMap& map) {
  if (map.protocol != protocol_udp) return;
  if (frame.size() - map.l4 < 4) {
    map.sound = false;
    return;
  }
  map.udp_to = load_be16(&frame[map.l4 + 2]);
  if (!map.sound) return;
  const uint32_t room = map.end - map.l4;
  const uint32_t length = room < udp_size ? 0 : load_be16(&frame[map.l4 + 4]);
  map.sound = length >= udp_size && length <= room;
}

void map_ip4(std::span<const uint8_t> frame, FrameMap& map) {
  const auto ip = frame.subspan(map.l3);
  if (ip.size() < ip4_size || ip[0] >> 4 != 4) return;
  const uint32_t header = (ip[0] & 15u) * 4;
  const uint32_t total = load_be16(&ip[2]);
  if (header < ip4_size || header > ip.size()) return;
  const uint16_t fragment = load_be16(&ip[6]);
  if ((fragment & 0x1fff) != 0) return;  // a later fragment: no transport header in it
  map.sound = total >= header && total <= ip.size() && (fragment & 0x2000) == 0;
  map.protocol = ip[9];
  map.l4 = map.l3 + header;
  if (map.sound) map.end = map.l3 + total;
  map_udp(frame, map);
}

/// Hop-by-hop, routing and destination options, and a first fragment: what may stand before the transport header.
bool is_extension(uint8_t next) { return next == 0 || next == 43 || next == 44 || next == 60; }

void map_ip6(std::span<const uint8_t> frame, FrameMap& map) {
  const auto ip = frame.subspan(map.l3);
  if (ip.size() < ip6_size || ip[0] >> 4 != 6) return;
  const uint32_t payload = load_be16(&ip[4]);
  uint8_t next = ip[6];
  uint32_t at = ip6_size;
  bool plain = true;
  for (int i = 0; i < longest_chain && is_extension(next); ++i) {
    if (ip.size() - at < 8) return;
    if (next == 44 && (load_be16(&ip[at + 2]) & 0xfff8) != 0) return;  // a later fragment (RFC 8200 section 4.5)
    const uint32_t size = next == 44 ? 8 : (ip[at + 1] + 1u) * 8;
    next = ip[at];
    if (size > ip.size() - at) return;
    at += size;
    plain = false;
  }
  map.sound = plain && payload <= ip.size() - ip6_size;
  map.protocol = next;
  map.l4 = map.l3 + at;
  if (map.sound) map.end = map.l3 + ip6_size + payload;
  if (map.protocol == protocol_icmp6 && map.l4 < frame.size()) map.icmp6 = frame[map.l4];
  map_udp(frame, map);
}

}  // namespace

FrameMap map_frame(std::span<const uint8_t> frame, bool tag_beside) {
  FrameMap map;
  if (frame.size() < ether_size) return map;
  map.tagged = load_be16(&frame[12]) == type_tag;
  map.l3 = map.tagged ? tagged_size : ether_size;
  if (frame.size() < map.l3) return map;
  map.type = load_be16(&frame[map.l3 - 2]);
  map.nested = is_tag_type(map.type) || (tag_beside && map.tagged);
  if (map.type == type_ipv4) map_ip4(frame, map);
  if (map.type == type_ipv6) map_ip6(frame, map);
  return map;
}

bool point_headers(skpack& skp) {
  const FrameMap map = map_frame({skp.data, skp.psize});
  skp.ip_hdr = skp.ip6_hdr = skp.ud_hdr = skp.upper = nullptr;
  skp.vlan_tag = map.tagged ? skp.data + 12 : nullptr;
  if (!map.sound || map.udp_to == 0) return false;
  (map.type == type_ipv4 ? skp.ip_hdr : skp.ip6_hdr) = skp.data + map.l3;
  skp.ud_hdr = skp.upper = skp.data + map.l4;
  return true;
}

}  // namespace dhcp::softswitch
