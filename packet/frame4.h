/// The door for received IPv4 frames: the only code that touches the pointers of the device's frame buffer.
///
/// parse() compares every pointer with the frame's own storage, so whoever holds a Frame4 reads nothing outside it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "packet/message4.h"
#include "platform/adp.h"

namespace dhcp::packet {

/// VLAN of a frame without a tag.
inline constexpr uint16_t untagged_vlan = 65535;

class Frame4 {
 public:
  /// Nothing when the buffer holds no Ethernet, IPv4 and UDP header with 240 bytes of DHCP message behind them. The
  /// UDP header is `ud_hdr`, or `upper` when that is null.
  static std::optional<Frame4> parse(const skpack& skp);

  std::span<uint8_t> bytes() const { return frame_; }
  base::MacAddress destination() const { return base::MacAddress::from(&frame_[eth::destination.offset]); }
  base::MacAddress source() const { return base::MacAddress::from(&frame_[eth::source.offset]); }
  bool tagged() const { return tag_offset_ != 0; }
  /// 12-bit VLAN identifier of the tag, or 65535 without one.
  uint16_t vlan() const;
  uint32_t ip_source() const { return load_be32(&frame_[ip_offset_ + ip4::source.offset]); }
  uint32_t ip_destination() const { return load_be32(&frame_[ip_offset_ + ip4::destination.offset]); }
  uint32_t in_intf() const { return in_intf_; }
  const Message4& message() const { return message_; }

 private:
  Frame4(std::span<uint8_t> frame, size_t tag, size_t ip, uint32_t in_intf, Message4 message)
      : frame_(frame), tag_offset_(tag), ip_offset_(ip), in_intf_(in_intf), message_(message) {}

  std::span<uint8_t> frame_;
  size_t tag_offset_, ip_offset_;
  uint32_t in_intf_;
  Message4 message_;
};

}  // namespace dhcp::packet
