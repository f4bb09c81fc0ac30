/// A DHCPv4 message (RFC 2131 section 2) of at least 240 bytes. Made only by at(), so every accessor is in bounds.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "packet/bytes.h"
#include "packet/layout.h"

namespace dhcp::packet {

class Message4 {
 public:
  /// `bytes` begin at `op` and end where the message can be read no further.
  static std::optional<Message4> at(std::span<uint8_t> bytes) {
    if (bytes.size() < dhcp4::fixed_size) return std::nullopt;
    return Message4(bytes);
  }

  std::span<uint8_t> bytes() const { return bytes_; }
  std::span<uint8_t> options() const { return bytes_.subspan(dhcp4::fixed_size); }
  std::span<uint8_t> field(Field f) const { return bytes_.subspan(f.offset, f.size); }

  uint8_t op() const { return byte(dhcp4::op); }
  uint8_t htype() const { return byte(dhcp4::htype); }
  uint8_t hlen() const { return byte(dhcp4::hlen); }
  uint8_t hops() const { return byte(dhcp4::hops); }
  uint32_t xid() const { return word(dhcp4::xid); }
  uint16_t flags() const { return load_be16(&bytes_[dhcp4::flags.offset]); }
  bool wants_broadcast() const { return (flags() & dhcp4::broadcast_flag) != 0; }
  uint32_t ciaddr() const { return word(dhcp4::ciaddr); }
  uint32_t yiaddr() const { return word(dhcp4::yiaddr); }
  uint32_t giaddr() const { return word(dhcp4::giaddr); }
  base::MacAddress client_mac() const { return base::MacAddress::from(&bytes_[dhcp4::chaddr.offset]); }

  void set_byte(Field f, uint8_t value) { bytes_[f.offset] = value; }
  void set_word(Field f, uint32_t value) { store_be32(&bytes_[f.offset], value); }

 private:
  explicit Message4(std::span<uint8_t> bytes) : bytes_(bytes) {}
  uint8_t byte(Field f) const { return bytes_[f.offset]; }
  uint32_t word(Field f) const { return load_be32(&bytes_[f.offset]); }

  std::span<uint8_t> bytes_;
};

}  // namespace dhcp::packet
