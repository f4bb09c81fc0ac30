/// Neighbour discovery (RFC 4861) for hosts that exist on the wire only: servers and relays on a kernel's interface ask
/// for the MAC of whom they answer.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "bench/wire6.h"

namespace dhcp::bench {

using NeighbourFrame = std::array<uint8_t, frame6_ip + packet::ip6::header_size + 32>;

/// The address that a neighbour solicitation asks for; nothing when the frame is none.
std::optional<Address6> solicited(std::span<const uint8_t> frame);

/// The advertisement that answers it, from `mac`, written into `out`.
std::span<const uint8_t> advertise_neighbour(std::span<const uint8_t> solicitation, const base::MacAddress& mac,
                                             NeighbourFrame& out);

}  // namespace dhcp::bench
