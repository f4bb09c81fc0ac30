/// The door for received IPv6 frames: the only code that touches the pointers of the device's frame buffer.
///
/// parse() compares every pointer with the frame's own storage, so whoever holds a Frame6 reads nothing outside it.
#pragma once

#include <optional>

#include "base/ip6.h"
#include "packet/link_frame.h"
#include "packet/message6.h"

namespace dhcp::packet {

/// Which pointer of the buffer leads to the UDP header.
enum class UdpPointer { ud_hdr, ud_hdr_or_upper };

class Frame6 : public LinkFrame {
 public:
  /// Nothing when the buffer holds no Ethernet, IPv6 and UDP header with 4 bytes of DHCP message behind them.
  static std::optional<Frame6> parse(const skpack& skp, UdpPointer from = UdpPointer::ud_hdr);

  base::Ip6 ip_source() const { return base::Ip6::from(&bytes()[ip_offset_ + ip6::source.offset]); }
  base::Ip6 ip_destination() const { return base::Ip6::from(&bytes()[ip_offset_ + ip6::destination.offset]); }
  /// It ends where the UDP length says, at the latest with the frame.
  const Message6& message() const { return message_; }
  /// The same bytes as a relay's message; nothing when they are fewer than its header.
  std::optional<RelayMessage6> relay_message() const { return RelayMessage6::at(message_.bytes()); }

 private:
  Frame6(const LinkFrame& link, size_t ip, Message6 message) : LinkFrame(link), ip_offset_(ip), message_(message) {}

  size_t ip_offset_;
  Message6 message_;
};

/// The message in the buffer alone, for callers who know the frame only by its UDP header.
std::optional<Message6> message6_in(const skpack& skp, UdpPointer from = UdpPointer::ud_hdr);

}  // namespace dhcp::packet
