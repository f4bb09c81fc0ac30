#include "bench/neighbour6.h"

#include <algorithm>

namespace dhcp::bench {

namespace ip6 = packet::ip6;

namespace {

// Behind the IPv6 header (sections 4.3, 4.4, 4.6.1).
constexpr uint8_t icmp6 = 58, solicitation_type = 135, advertisement_type = 136, solicited_override = 0x60;
constexpr uint8_t target_mac = 2, in_eight_bytes = 1, hop_limit = 255;
constexpr size_t nd = frame6_ip + ip6::header_size, nd_flags = nd + 4, nd_target = nd + 8, nd_option = nd + 24;
constexpr uint8_t nd_size = 32;
static_assert(nd + nd_size == NeighbourFrame{}.size());

}  // namespace

std::optional<Address6> solicited(std::span<const uint8_t> frame) {
  if (frame.size() < nd_option || packet::load_be16(&frame[12]) != packet::eth::type_ipv6 ||
      frame[frame6_ip + ip6::next_header.offset] != icmp6 || frame[nd] != solicitation_type) {
    return std::nullopt;
  }
  Address6 target;
  std::copy_n(&frame[nd_target], target.size(), target.begin());
  return target;
}

std::span<const uint8_t> advertise_neighbour(std::span<const uint8_t> solicitation, const base::MacAddress& mac,
                                             NeighbourFrame& out) {
  out.fill(0);
  std::copy_n(&solicitation[6], 6, out.begin());
  std::ranges::copy(mac.bytes, out.begin() + 6);
  packet::store_be16(&out[12], packet::eth::type_ipv6);
  uint8_t* ip = &out[frame6_ip];
  packet::store_be32(ip, ip6::version);
  packet::store_be16(ip + ip6::payload_length.offset, nd_size);
  ip[ip6::next_header.offset] = icmp6;
  ip[ip6::hop_limit.offset] = hop_limit;
  std::copy_n(&solicitation[nd_target], 16, ip + ip6::source.offset);
  std::copy_n(&solicitation[frame6_ip + ip6::source.offset], 16, ip + ip6::destination.offset);
  out[nd] = advertisement_type;
  out[nd_flags] = solicited_override;
  std::copy_n(&solicitation[nd_target], 16, &out[nd_target]);
  out[nd_option] = target_mac;
  out[nd_option + 1] = in_eight_bytes;
  std::ranges::copy(mac.bytes, &out[nd_option + 2]);
  const uint8_t pseudo[] = {0, nd_size, 0, icmp6};
  put_sum(&out[nd + 2], sum_of(&out[nd], nd_size, sum_of(pseudo, 4, sum_of(ip + ip6::source.offset, 32, 0))));
  return out;
}

}  // namespace dhcp::bench
