/// Offsets and sizes of the headers in a frame and of the fixed part of a DHCPv4 message.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dhcp::packet {

struct Field {
  size_t offset, size;
  constexpr size_t end() const { return offset + size; }
};

/// True when each field begins where the one before it ends.
template <class... Rest>
constexpr bool adjoining(Field first, Field second, Rest... rest) {
  if constexpr (sizeof...(rest) == 0) {
    return first.end() == second.offset;
  } else {
    return first.end() == second.offset && adjoining(second, rest...);
  }
}

/// A single-tagged Ethernet frame (IEEE 802.1Q) with IPv4 (RFC 791) and UDP (RFC 768) headers without options.
namespace eth {
inline constexpr Field destination{0, 6}, source{6, 6}, tpid{12, 2}, tci{14, 2}, type{16, 2}, payload{18, 0};
static_assert(adjoining(destination, source, tpid, tci, type, payload));
inline constexpr uint16_t tpid_8021q = 0x8100, tpid_outer = 0x9100;
inline constexpr uint16_t type_ipv4 = 0x0800, type_arp = 0x0806, type_ipv6 = 0x86dd;
inline constexpr uint16_t vid_mask = 0x0fff;
}  // namespace eth

/// ARP for IPv4 over Ethernet (RFC 826), from the start of an untagged frame.
namespace arp {
inline constexpr Field hardware{14, 2}, protocol{16, 2}, hardware_length{18, 1}, protocol_length{19, 1},
    operation{20, 2}, sender_mac{22, 6}, sender_ip{28, 4}, target_mac{32, 6}, target_ip{38, 4};
static_assert(adjoining(hardware, protocol, hardware_length, protocol_length, operation, sender_mac, sender_ip,
                        target_mac, target_ip));
inline constexpr uint16_t hardware_ethernet = 1, request = 1, reply = 2;
}  // namespace arp

/// From the start of the IPv4 header.
namespace ip4 {
inline constexpr Field version_ihl{0, 1}, tos{1, 1}, total_length{2, 2}, id{4, 2}, fragment{6, 2}, ttl{8, 1},
    protocol{9, 1}, checksum{10, 2}, source{12, 4}, destination{16, 4};
static_assert(adjoining(version_ihl, tos, total_length, id, fragment, ttl, protocol, checksum, source, destination));
inline constexpr size_t header_size = destination.end();
inline constexpr uint8_t protocol_udp = 17;
inline constexpr uint32_t broadcast = 0xffffffff;
}  // namespace ip4

/// From the start of the IPv6 header (RFC 8200 section 3).
namespace ip6 {
inline constexpr Field version_class_flow{0, 4}, payload_length{4, 2}, next_header{6, 1}, hop_limit{7, 1},
    source{8, 16}, destination{24, 16};
static_assert(adjoining(version_class_flow, payload_length, next_header, hop_limit, source, destination));
inline constexpr size_t header_size = destination.end();
inline constexpr uint32_t version = 0x60000000;  // with traffic class and flow label 0
inline constexpr uint8_t next_header_udp = 17;
}  // namespace ip6

/// From the start of the UDP header.
namespace udp {
inline constexpr Field source{0, 2}, destination{2, 2}, length{4, 2}, checksum{6, 2};
static_assert(adjoining(source, destination, length, checksum));
inline constexpr size_t header_size = checksum.end();
inline constexpr uint16_t port_server = 67, port_client = 68;
inline constexpr uint16_t port_client6 = 546, port_server6 = 547;  // servers and relays
}  // namespace udp

/// From the start of the DHCPv4 message (RFC 2131 section 2).
namespace dhcp4 {
inline constexpr Field op{0, 1}, htype{1, 1}, hlen{2, 1}, hops{3, 1}, xid{4, 4}, secs{8, 2}, flags{10, 2},
    ciaddr{12, 4}, yiaddr{16, 4}, siaddr{20, 4}, giaddr{24, 4}, chaddr{28, 16}, sname{44, 64}, file{108, 128},
    cookie{236, 4}, options{240, 0};
static_assert(adjoining(op, htype, hlen, hops, xid, secs, flags, ciaddr, yiaddr, siaddr, giaddr, chaddr, sname, file,
                        cookie, options));
inline constexpr size_t fixed_size = options.offset;
inline constexpr uint32_t magic_cookie = 0x63825363;
inline constexpr uint16_t broadcast_flag = 0x8000;
inline constexpr uint8_t boot_request = 1, boot_reply = 2;
}  // namespace dhcp4

/// From the start of a DHCPv6 client/server message (RFC 8415 section 8).
namespace dhcp6 {
inline constexpr Field msg_type{0, 1}, transaction_id{1, 3}, options{4, 0};
static_assert(adjoining(msg_type, transaction_id, options));
inline constexpr size_t header_size = options.offset;
}  // namespace dhcp6

/// From the start of a RELAY-FORW or RELAY-REPL message (RFC 8415 section 9).
namespace relay6 {
inline constexpr Field msg_type{0, 1}, hop_count{1, 1}, link{2, 16}, peer{18, 16}, options{34, 0};
static_assert(adjoining(msg_type, hop_count, link, peer, options));
inline constexpr size_t header_size = options.offset;
}  // namespace relay6

/// Where the headers lie in the frames that the module builds.
inline constexpr size_t tagged_ip_offset = eth::payload.offset;
inline constexpr size_t tagged_udp_offset = tagged_ip_offset + ip4::header_size;
inline constexpr size_t tagged_dhcp_offset = tagged_udp_offset + udp::header_size;
static_assert(tagged_dhcp_offset == 46);

inline constexpr size_t tagged_ip6_offset = eth::payload.offset;
inline constexpr size_t tagged_udp6_offset = tagged_ip6_offset + ip6::header_size;
inline constexpr size_t tagged_dhcp6_offset = tagged_udp6_offset + udp::header_size;
static_assert(tagged_dhcp6_offset == 66);

}  // namespace dhcp::packet
