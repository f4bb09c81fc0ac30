/// The relay agent information option (RFC 3046): its bytes, and the rewrite of a frame that gains or loses it.
///
/// The settings hang from the service's record and are guarded by the snooping lock, which every caller here holds.
#pragma once

#include <cstdint>
#include <span>

#include "dhcp/snooping.h"

namespace dhcp::snooping {

/// Sub-options that the switch writes; the numbers also name the settings (RFC 3046 section 2.0, RFC 3527).
enum class SubOption : int { circuit_id = 1, remote_id = 2, link_selection = 5 };

/// The bit of SUB_OPTION::flags, 0 for a sub-option that is not one of the three.
constexpr uint32_t setting_flag(SubOption type) {
  const bool known = type == SubOption::circuit_id || type == SubOption::remote_id || type == SubOption::link_selection;
  return known ? 1U << static_cast<int>(type) : 0;
}

inline bool has_setting(const SUB_OPTION& entry, SubOption type) { return (entry.flags & setting_flag(type)) != 0; }

/// Most bytes that the option can take: header, two strings with their numbers, an address.
inline constexpr size_t option82_most = 2 + 2 * (4 + DHCP_SNOOP_STRING_SIZE - 1) + 6;

enum class Rewrite : int {
  strip = 0,    // leave option 82 out
  replace = 1,  // ours instead of what is there, or added
  add = 2,      // ours where there is none; what is there stays
};

/// Size of a rewritten frame's buffer: no Ethernet frame is larger.
inline constexpr size_t rewrite_room = 1500;

/// Where the frame came in, which the default circuit id tells.
struct Ingress {
  int vlan;
  uint32_t port;
  int module;
};

/// Writes the rewritten frame to `out` and returns its length. 0 when the frame is not a tagged DHCPv4 message with an
/// IPv4 header of 20 bytes, has no end option, or does not fit.
size_t rewrite_option82(std::span<const uint8_t> frame, std::span<uint8_t> out, Rewrite mode, const Ingress& from);

}  // namespace dhcp::snooping
