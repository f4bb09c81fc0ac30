/// Neighbour advertisements (RFC 4861) on their way to the CPU.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace dhcp::softswitch {

inline constexpr size_t macs_size = 12;                               // what stands in front of a frame's type
inline constexpr size_t named_advertisement_size = 14 + 40 + 24 + 8;  // Ethernet, IPv6, the message, the option

/// An advertisement without options, as hosts give when they are asked at their own address (section 7.2.4), with its
/// sender's MAC as the target's link-layer address: by that option alone the module learns a neighbour. `macs` are the
/// frame's 12 bytes, `rest` begins at its type; a wrong checksum stays wrong. Nothing for any other frame.
std::optional<std::array<uint8_t, named_advertisement_size>> name_advertiser(const uint8_t* macs,
                                                                             std::span<const uint8_t> rest);

}  // namespace dhcp::softswitch
