#include "packet/datagram6.h"

#include <algorithm>
#include <array>

#include "dhcp/packet6.h"
#include "packet/bytes.h"
#include "platform/text.h"

namespace dhcp::packet {

namespace {

constexpr size_t largest_udp_length = 0xffff;

/// The pseudo-header of RFC 8200 section 8.1: addresses, a 32-bit length, three zeros, the next header.
constexpr size_t pseudo_length_at = 32, pseudo_next_header_at = 39, pseudo_size = 40;

/// The sum, not its complement, of a run of bytes; a last odd one is the high half of a word.
uint32_t sum_of(const uint8_t* bytes, size_t size) {
  const size_t even = size & ~size_t{1};
  uint32_t sum = static_cast<uint16_t>(~cksum(bytes, static_cast<int>(even)));
  if (even != size) sum += static_cast<uint32_t>(bytes[even]) << 8;
  return sum;
}

uint16_t udp_checksum(const uint8_t* frame, size_t udp_length) {
  std::array<uint8_t, pseudo_size> pseudo{};
  std::copy_n(frame + tagged_ip6_offset + ip6::source.offset, 2 * ip6::source.size, pseudo.begin());
  store_be32(&pseudo[pseudo_length_at], static_cast<uint32_t>(udp_length));
  pseudo[pseudo_next_header_at] = ip6::next_header_udp;
  uint32_t sum = sum_of(pseudo.data(), pseudo.size()) + sum_of(frame + tagged_udp6_offset, udp_length);
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  const auto result = static_cast<uint16_t>(~sum);
  return result != 0 ? result : 0xffff;  // 0 would say that there is no checksum
}

void put_ethernet(uint8_t* frame, const Datagram6& datagram) {
  std::copy(datagram.to_mac.bytes.begin(), datagram.to_mac.bytes.end(), frame + eth::destination.offset);
  std::copy(datagram.from_mac.bytes.begin(), datagram.from_mac.bytes.end(), frame + eth::source.offset);
  store_be16(frame + eth::tpid.offset, eth::tpid_8021q);
  store_be16(frame + eth::tci.offset, datagram.vlan);
  store_be16(frame + eth::type.offset, eth::type_ipv6);
}

void put_ip6(uint8_t* header, uint16_t udp_length, const Datagram6& datagram) {
  store_be32(header + ip6::version_class_flow.offset, ip6::version);
  store_be16(header + ip6::payload_length.offset, udp_length);
  header[ip6::next_header.offset] = ip6::next_header_udp;
  header[ip6::hop_limit.offset] = datagram.hop_limit;
  datagram.from.copy_to(header + ip6::source.offset);
  datagram.to.copy_to(header + ip6::destination.offset);
}

}  // namespace

std::span<uint8_t> finish_datagram6(std::span<uint8_t> frame, size_t message_size, const Datagram6& datagram) {
  if (frame.size() < tagged_dhcp6_offset || frame.size() - tagged_dhcp6_offset < message_size) return {};
  if (message_size > largest_udp_length - udp::header_size) return {};
  const auto udp_length = static_cast<uint16_t>(udp::header_size + message_size);
  put_ethernet(frame.data(), datagram);
  put_ip6(&frame[tagged_ip6_offset], udp_length, datagram);
  uint8_t* header = &frame[tagged_udp6_offset];
  store_be16(header + udp::source.offset, datagram.from_port);
  store_be16(header + udp::destination.offset, datagram.to_port);
  store_be16(header + udp::length.offset, udp_length);
  store_be16(header + udp::checksum.offset, 0);
  store_be16(header + udp::checksum.offset, udp_checksum(frame.data(), udp_length));
  return frame.first(tagged_dhcp6_offset + message_size);
}

}  // namespace dhcp::packet

using namespace dhcp;

const uint8_t dhcpv6_mcast_ip6addr[16] = {0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2};
const uint8_t dhcpv6_mcast_mac[6] = {0x33, 0x33, 0, 1, 0, 2};

int16_t dhcp6_udp_calculate_chksum(const uint8_t* frame, int udp_length) {
  return static_cast<int16_t>(packet::udp_checksum(frame, udp_length > 0 ? static_cast<size_t>(udp_length) : 0));
}

int dhcp6_is_multicast_ether_addr(const uint8_t* mac) { return mac[0] == 0x33 && mac[1] == 0x33 ? 1 : 0; }
