#include "packet/frame6.h"

namespace dhcp::packet {

namespace {

/// A UDP length below its own header's is a message of no bytes.
std::optional<Message6> message_behind(const LinkFrame& link, const uint8_t* udp_header) {
  const auto udp = link.offset_of(udp_header, udp::header_size + dhcp6::header_size);
  if (!udp) return std::nullopt;
  const auto header = link.bytes().subspan(*udp);
  const size_t length = load_be16(&header[udp::length.offset]);
  return Message6::at(header.subspan(udp::header_size), length > udp::header_size ? length - udp::header_size : 0);
}

const uint8_t* udp_header(const skpack& skp, UdpPointer from) {
  return skp.ud_hdr == nullptr && from == UdpPointer::ud_hdr_or_upper ? skp.upper : skp.ud_hdr;
}

}  // namespace

std::optional<Frame6> Frame6::parse(const skpack& skp, UdpPointer from) {
  const auto link = LinkFrame::parse(skp);
  if (!link) return std::nullopt;
  const auto ip = link->offset_of(skp.ip6_hdr, ip6::header_size);
  const auto message = message_behind(*link, udp_header(skp, from));
  if (!ip || !message) return std::nullopt;
  return Frame6(*link, *ip, *message);
}

std::optional<Message6> message6_in(const skpack& skp, UdpPointer from) {
  const auto link = LinkFrame::parse(skp);
  if (!link) return std::nullopt;
  return message_behind(*link, udp_header(skp, from));
}

}  // namespace dhcp::packet
