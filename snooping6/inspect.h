/// The way of one DHCPv6 frame through inspection: the client's or the server's side, then out or on.
///
/// Each step looks at the frame in hand and either says what becomes of it or leaves it to the next step. Nothing here
/// counts or logs a fate; one place does that for all of them.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "binding/outcome.h"
#include "packet/frame6.h"
#include "snooping6/bindings.h"

namespace dhcp::snooping6 {

using binding::Outcome;
using binding::Step;
using packet::MessageType6;

/// Message types as a set, one bit each.
constexpr uint32_t types(std::initializer_list<MessageType6> list) {
  uint32_t mask = 0;
  for (const auto type : list) mask |= 1U << static_cast<int>(type);
  return mask;
}
inline constexpr uint32_t server_types =
    types({MessageType6::advertise, MessageType6::reply, MessageType6::reconfigure, MessageType6::relay_reply});
/// What makes a binding for an unknown client, or says where a known one is now.
inline constexpr uint32_t opening_types = types({MessageType6::solicit, MessageType6::request, MessageType6::confirm});

inline bool in_set(const packet::Frame6& frame, uint32_t mask) {
  const unsigned type = frame.message().type();
  return type < 32 && (mask >> type & 1) != 0;
}

/// Messages on an untrusted port; nothing = forward.
Step client_side(const packet::Frame6& frame);
/// Messages on a trusted port; nothing = forward.
Step server_side(const packet::Frame6& frame);

}  // namespace dhcp::snooping6
