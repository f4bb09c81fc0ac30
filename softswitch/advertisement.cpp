#include "softswitch/advertisement.h"

#include <algorithm>

#include "softswitch/checksum.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

constexpr uint8_t advertisement = 136, target_link_address = 2, one_unit = 1;  // a unit of 8 bytes
constexpr uint16_t bare_size = 24, option_size = 8;                            // bytes
constexpr size_t l3 = ether_size, icmp = l3 + 40, option = icmp + bare_size;

bool is_bare_advertisement(std::span<const uint8_t> rest) {
  constexpr size_t type_size = 2;  // `rest` lacks the MACs
  return rest.size() >= type_size + 40 + bare_size && load_be16(rest.data()) == type_ipv6 &&
         load_be16(&rest[type_size + 4]) == bare_size && rest[type_size + 6] == protocol_icmp6 &&
         rest[type_size + 40] == advertisement;
}

}  // namespace

std::optional<std::array<uint8_t, named_advertisement_size>> name_advertiser(const uint8_t* macs,
                                                                             std::span<const uint8_t> rest) {
  if (!is_bare_advertisement(rest)) return std::nullopt;
  std::array<uint8_t, named_advertisement_size> frame;
  std::copy_n(macs, macs_size, frame.begin());
  std::copy_n(rest.begin(), option - macs_size, frame.begin() + macs_size);
  frame[option] = target_link_address;
  frame[option + 1] = one_unit;
  std::copy_n(macs + mac_size, mac_size, frame.begin() + option + 2);
  store_be16(&frame[l3 + 4], bare_size + option_size);
  // What the sum grows by: the option, and the length in the pseudo header (RFC 1624 section 3).
  const auto before = static_cast<uint16_t>(~load_be16(&frame[icmp + 2]));
  const uint16_t sum = ones_sum(std::span(frame).subspan(option), uint32_t{before} + option_size);
  store_be16(&frame[icmp + 2], static_cast<uint16_t>(~sum));
  return frame;
}

}  // namespace dhcp::softswitch
