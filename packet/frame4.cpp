#include "packet/frame4.h"

namespace dhcp::packet {

std::optional<Frame4> Frame4::parse(const skpack& skp) {
  const auto link = LinkFrame::parse(skp);
  if (!link) return std::nullopt;
  const auto ip = link->offset_of(skp.ip_hdr, ip4::header_size);
  const uint8_t* udp_header = skp.ud_hdr != nullptr ? skp.ud_hdr : skp.upper;
  const auto udp = link->offset_of(udp_header, udp::header_size + dhcp4::fixed_size);
  if (!ip || !udp) return std::nullopt;
  const auto message = Message4::at(link->bytes().subspan(*udp + udp::header_size));
  if (!message) return std::nullopt;
  return Frame4(*link, *ip, *message);
}

}  // namespace dhcp::packet
