/// A client's request on its way out: walked once, copied once with the option 82 that the switches ask for, and then
/// fitted to each helper in turn, which only writes header fields.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "relay/relay.h"

namespace dhcp::relay {

/// What one walk over the options of a frame has found. The frame is a tagged one whose DHCP message begins where the
/// relay's offsets say; nothing else in it is looked at.
class Request {
 public:
  /// Nothing without the cookie, or when the options do not come to an end inside the frame.
  static std::optional<Request> parse(std::span<uint8_t> frame);

  /// Option 54 (RFC 2132 section 9.7), wherever option overload has put it.
  std::optional<uint32_t> server() const;

  /// Writes the frame to `out`, with option 82 added, replaced or as it was, and lengths and the IPv4 header checksum
  /// true to it. The length written, 0 when it does not fit or the trust switch has no such position. `port` and `vlan`
  /// are what the default circuit id tells.
  size_t copy_to(std::span<uint8_t> out, uint16_t port, uint16_t vlan) const;

  std::span<const uint8_t> bytes() const { return frame_; }
  uint8_t hops() const;
  /// Option 53 (RFC 2132 section 9.6); 0 without one.
  uint8_t message_type() const { return type_; }
  bool has_option82() const { return has_option82_; }
  /// Offset of the end option.
  size_t end() const { return end_; }

 private:
  class Copy;

  explicit Request(std::span<uint8_t> frame) : frame_(frame) {}
  bool walk();
  void replace_option82(Copy& copy, std::span<const uint8_t> own) const;

  std::span<uint8_t> frame_;
  size_t end_ = 0;
  uint8_t type_ = 0;
  bool has_option82_ = false, overloaded_ = false;
  std::optional<uint32_t> server_;
};

}  // namespace dhcp::relay
