/// Answers: a DHCPv6 message built in the one answer buffer, wrapped for the relay that asked, and its way out as a
/// tagged frame.
///
/// The buffers belong to the message that is being handled, so the pools' word guards them.
#pragma once

#include "server6/request.h"

namespace dhcp::server6 {

struct Answer {
  packet::MessageType6 type;
  /// The pool that the IA and the pool's options are of; null = neither, the status only.
  const Dhcp6Pool* pool = nullptr;
  /// The address of the IA; null = NoAddrsAvail.
  const Ip6* ip = nullptr;
  std::optional<uint16_t> status = std::nullopt;
};

/// Builds the answer and sends it to who sent the request's frame. False when nothing was sent: the client's IA cannot
/// be answered, the options do not fit, or the device does not know itself.
bool send_answer(Request& request, const Answer& answer);

/// The same for a message that stands ready: to a client, or to a relay as the content of its answer.
bool send_to_client(Request& request, std::span<const uint8_t> message);
bool send_to_relay(Request& request, std::span<const uint8_t> message);

}  // namespace dhcp::server6
