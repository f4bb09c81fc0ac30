/// Neighbour discovery (RFC 4861): the question for a MAC, and the answer.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/ip6.h"
#include "base/mac.h"

namespace dhcp::packet {

/// The ICMPv6 message without its checksum, which the kernel writes at `icmp6_checksum_at` (RFC 4861 section 4.3).
using NeighbourSolicitation = std::array<uint8_t, 32>;
inline constexpr int icmp6_checksum_at = 2;
NeighbourSolicitation neighbour_solicitation(const base::Ip6& target, const base::MacAddress& asker);

/// The target's MAC, when the message is an advertisement for `target` that begins its options with it (RFC 4861
/// section 4.4).
std::optional<base::MacAddress> advertised_mac(std::span<const uint8_t> message, const base::Ip6& target);

}  // namespace dhcp::packet
