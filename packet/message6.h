/// DHCPv6 messages as checked views (RFC 8415 sections 8 and 9). Made only by at(), so every accessor is in bounds.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "base/ip6.h"
#include "packet/bytes.h"
#include "packet/layout.h"

namespace dhcp::packet {

enum class MessageType6 : uint8_t {
  solicit = 1,
  advertise,
  request,
  confirm,
  renew,
  rebind,
  reply,
  release,
  decline,
  reconfigure,
  information_request,
  relay_forward,
  relay_reply
};

/// A message of at least a header's four bytes. What lies behind its extent is not part of it.
class Message6 {
 public:
  /// `extent` is where the message ends by its datagram's length, which may be less than a header.
  static std::optional<Message6> at(std::span<uint8_t> bytes, size_t extent) {
    if (bytes.size() < dhcp6::header_size) return std::nullopt;
    return Message6(bytes, extent);
  }
  static std::optional<Message6> at(std::span<uint8_t> bytes) { return at(bytes, bytes.size()); }

  /// False when its datagram's length leaves nothing of it, or promises more than the frame holds.
  bool whole() const { return extent_ > 0 && !cut_; }
  /// The message up to its extent: what a relay carries on.
  std::span<uint8_t> bytes() const { return bytes_.first(extent_); }
  std::span<uint8_t> options() const { return bytes_.subspan(std::min(extent_, dhcp6::header_size), options_size()); }
  uint8_t type() const { return bytes_[dhcp6::msg_type.offset]; }
  bool is(MessageType6 type) const { return this->type() == static_cast<uint8_t>(type); }
  /// 24 bits.
  uint32_t transaction_id() const { return load_be24(&bytes_[dhcp6::transaction_id.offset]); }

 private:
  Message6(std::span<uint8_t> bytes, size_t extent)
      : bytes_(bytes), extent_(std::min(extent, bytes.size())), cut_(extent > bytes.size()) {}
  size_t options_size() const { return extent_ > dhcp6::header_size ? extent_ - dhcp6::header_size : 0; }

  std::span<uint8_t> bytes_;
  size_t extent_;
  bool cut_;
};

/// Begins a client's or server's message of that type; its options come behind these four bytes.
inline void begin_message6(std::span<uint8_t> message, MessageType6 type, uint32_t transaction_id) {
  message[dhcp6::msg_type.offset] = static_cast<uint8_t>(type);
  store_be24(&message[dhcp6::transaction_id.offset], transaction_id);
}

/// A RELAY-FORW or RELAY-REPL of at least a header's 34 bytes; the type is not looked at.
class RelayMessage6 {
 public:
  static std::optional<RelayMessage6> at(std::span<uint8_t> bytes) {
    if (bytes.size() < relay6::header_size) return std::nullopt;
    return RelayMessage6(bytes);
  }

  uint8_t type() const { return bytes_[relay6::msg_type.offset]; }
  uint8_t hop_count() const { return bytes_[relay6::hop_count.offset]; }
  void set_hop_count(uint8_t hops) { bytes_[relay6::hop_count.offset] = hops; }
  base::Ip6 link() const { return base::Ip6::from(&bytes_[relay6::link.offset]); }
  base::Ip6 peer() const { return base::Ip6::from(&bytes_[relay6::peer.offset]); }
  /// Link and peer as they stand, 32 bytes.
  std::span<uint8_t> addresses() const {
    return bytes_.subspan(relay6::link.offset, relay6::peer.end() - relay6::link.offset);
  }
  std::span<uint8_t> options() const { return bytes_.subspan(relay6::header_size); }

 private:
  explicit RelayMessage6(std::span<uint8_t> bytes) : bytes_(bytes) {}

  std::span<uint8_t> bytes_;
};

}  // namespace dhcp::packet
