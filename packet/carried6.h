/// The message that a relay's message carries in its Relay Message option (RFC 8415 sections 9 and 21.10).
#pragma once

#include <cstdint>
#include <span>

#include "packet/message6.h"

namespace dhcp::packet {

enum class Carried6 {
  message,
  nothing,   // the first option is another one, or there is none
  runs_off,  // it claims more bytes than there are
};

/// What the first option carries. `out` is written only for a message.
Carried6 carried_message(const RelayMessage6& relay, std::span<uint8_t>& out);

/// Bytes of a relay's message besides the message that it carries.
inline constexpr size_t carrying_size = relay6::header_size + 4;

/// Writes a relay's message with one option that carries `content`. Its size, or 0 when there is no room for it.
/// `link_and_peer` are the two addresses as they follow each other in the header.
size_t put_relay_message(std::span<uint8_t> room, MessageType6 type, uint8_t hop_count,
                         std::span<const uint8_t, 32> link_and_peer, std::span<const uint8_t> content);

}  // namespace dhcp::packet
