/// Loads and stores of network byte order, and the constants of the frames that the switch looks into.
#pragma once

#include <cstdint>

namespace dhcp::softswitch {

inline uint16_t load_be16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t load_be32(const uint8_t* p) { return uint32_t{load_be16(p)} << 16 | load_be16(p + 2); }
inline void store_be16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v >> 8);
  p[1] = static_cast<uint8_t>(v);
}
inline void store_be32(uint8_t* p, uint32_t v) {
  store_be16(p, static_cast<uint16_t>(v >> 16));
  store_be16(p + 2, static_cast<uint16_t>(v));
}

inline constexpr uint16_t type_ipv4 = 0x0800, type_arp = 0x0806, type_tag = 0x8100, type_ipv6 = 0x86dd;
/// Whether another VLAN tag begins with this type (IEEE 802.1Q and 802.1ad, and what came before them).
inline constexpr bool is_tag_type(uint16_t type) { return type == type_tag || type == 0x88a8 || type == 0x9100; }
inline constexpr uint16_t arp_request = 1, arp_answer = 2;
inline constexpr uint8_t protocol_tcp = 6, protocol_udp = 17, protocol_icmp6 = 58;
inline constexpr uint32_t mac_size = 6, tag_size = 4, ether_size = 14;
inline constexpr uint32_t tagged_size = ether_size + tag_size;  // where layer 3 begins behind one tag

inline constexpr uint16_t max_vlan = 4094;
inline constexpr uint32_t vlan_untagged = 65535;  // in a transmit request: no tag on the wire

}  // namespace dhcp::softswitch
