/// The door for received IPv4 frames: the only code that touches the pointers of the device's frame buffer.
///
/// parse() compares every pointer with the frame's own storage, so whoever holds a Frame4 reads nothing outside it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "packet/link_frame.h"
#include "packet/message4.h"

namespace dhcp::packet {

class Frame4 : public LinkFrame {
 public:
  /// Nothing when the buffer holds no Ethernet, IPv4 and UDP header with 240 bytes of DHCP message behind them. The
  /// UDP header is `ud_hdr`, or `upper` when that is null.
  static std::optional<Frame4> parse(const skpack& skp);

  uint32_t ip_source() const { return load_be32(&bytes()[ip_offset_ + ip4::source.offset]); }
  uint32_t ip_destination() const { return load_be32(&bytes()[ip_offset_ + ip4::destination.offset]); }
  const Message4& message() const { return message_; }

 private:
  Frame4(const LinkFrame& link, size_t ip, Message4 message) : LinkFrame(link), ip_offset_(ip), message_(message) {}

  size_t ip_offset_;
  Message4 message_;
};

}  // namespace dhcp::packet
