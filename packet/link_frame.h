/// The Ethernet part of a received frame, which IPv4 and IPv6 have in common: addresses, tag, and the question whether
/// a header pointer of the device points into the frame at all.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "packet/bytes.h"
#include "packet/layout.h"
#include "platform/adp.h"

namespace dhcp::packet {

/// VLAN of a frame without a tag.
inline constexpr uint16_t untagged_vlan = 65535;

class LinkFrame {
 public:
  /// Nothing when the buffer holds no Ethernet header, or its tag lies outside.
  static std::optional<LinkFrame> parse(const skpack& skp);

  std::span<uint8_t> bytes() const { return frame_; }
  base::MacAddress destination() const { return base::MacAddress::from(&frame_[eth::destination.offset]); }
  base::MacAddress source() const { return base::MacAddress::from(&frame_[eth::source.offset]); }
  bool tagged() const { return tag_offset_ != 0; }
  /// 12-bit VLAN identifier of the tag, or 65535 without one.
  uint16_t vlan() const;
  /// Changes the identifier in the tag; priority and drop bits stay. Only for tagged frames.
  void set_vlan(uint16_t vid);
  uint32_t in_intf() const { return in_intf_; }

  /// Offset of `p` when `size` bytes from it lie in the frame.
  std::optional<size_t> offset_of(const uint8_t* p, size_t size) const;

 private:
  LinkFrame(std::span<uint8_t> frame, uint32_t in_intf) : frame_(frame), in_intf_(in_intf) {}

  std::span<uint8_t> frame_;
  size_t tag_offset_ = 0;
  uint32_t in_intf_;
};

/// VLAN of the tag that a built frame begins with; nothing without one.
std::optional<uint16_t> tag_in(std::span<const uint8_t> frame);

}  // namespace dhcp::packet
