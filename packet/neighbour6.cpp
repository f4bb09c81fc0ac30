#include "packet/neighbour6.h"

#include <algorithm>

#include "packet/layout.h"

namespace dhcp::packet {

namespace {

constexpr Field type{0, 1}, code{1, 1}, checksum{2, 2}, flags{4, 4}, target_address{8, 16}, option_type{24, 1},
    option_length{25, 1}, link_address{26, 6};
static_assert(adjoining(type, code, checksum, flags, target_address, option_type, option_length, link_address));
static_assert(checksum.offset == icmp6_checksum_at && link_address.end() == sizeof(NeighbourSolicitation));

constexpr uint8_t solicitation = 135, advertisement = 136;
constexpr uint8_t source_link_address = 1, target_link_address = 2, eight_bytes = 1;

}  // namespace

NeighbourSolicitation neighbour_solicitation(const base::Ip6& target, const base::MacAddress& asker) {
  NeighbourSolicitation message{};
  message[type.offset] = solicitation;
  target.copy_to(&message[target_address.offset]);
  message[option_type.offset] = source_link_address;
  message[option_length.offset] = eight_bytes;
  std::copy(asker.bytes.begin(), asker.bytes.end(), &message[link_address.offset]);
  return message;
}

std::optional<base::MacAddress> advertised_mac(std::span<const uint8_t> message, const base::Ip6& target) {
  if (message.size() < link_address.end() || message[type.offset] != advertisement) return std::nullopt;
  if (base::Ip6::from(&message[target_address.offset]) != target) return std::nullopt;
  if (message[option_type.offset] != target_link_address || message[option_length.offset] != eight_bytes) {
    return std::nullopt;
  }
  return base::MacAddress::from(&message[link_address.offset]);
}

}  // namespace dhcp::packet
