/// A client's message into a Relay-forward, and out of a Relay-reply: frames built, not sent.
#pragma once

#include <cstdint>
#include <span>

#include "packet/frame6.h"
#include "relay6/relay6.h"

namespace dhcp::relay6 {

/// A built frame, or why there is none.
struct Built {
  std::span<uint8_t> frame;
  Dhcp6RelayVerdict verdict;
  bool ok() const { return !frame.empty(); }
};

/// Where an answer goes. `link` is null for a client, else a further relay's two addresses.
struct Recipient {
  MacAddress mac;
  uint16_t vlan;
  Ip6 peer;
  const uint8_t* link;
};

/// The Relay-forward for one destination. Raises the hop count of a received Relay-forward in place.
Built wrap_request(const packet::Frame6& received, std::span<uint8_t> buffer, const Dhcp6ServerNode& destination);

/// What the Relay-reply carries, as it is or wrapped anew for a further relay; the latter lowers the received hop count
/// in place.
Built unwrap_reply(const packet::Frame6& received, std::span<uint8_t> buffer, const Recipient& to);

/// Where frames are built; empty before init.
std::span<uint8_t> build_buffer();

}  // namespace dhcp::relay6
