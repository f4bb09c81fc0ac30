/// What becomes of a request or reply, and the ways on which it leaves.
#pragma once

#include <cstdint>
#include <span>

#include "packet/frame4.h"
#include "relay/relay.h"

namespace dhcp::relay {

/// What a frame's handler answers, and how it is counted.
struct Outcome {
  int result;
  DhcpRelayVerdict verdict;
  uint8_t type = 0;  // of the message, where it was read
};

Outcome relay_request(skpack& skp, uint32_t in_intf, uint32_t vlan);

/// Turns a reply back to its client's VLAN and port; one for a client that is not known goes on in its own VLAN.
Outcome relay_reply(packet::Frame4& frame, skpack& skp);

/// Sends a built frame, in the VLAN of its last tag: towards its destination MAC (`l3`) or out of the route port. False
/// when its tags make no sense.
bool send_built(std::span<uint8_t> frame, uint32_t in_intf, uint32_t vlan, bool l3);

}  // namespace dhcp::relay
