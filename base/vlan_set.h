/// A set of VLANs over a record's bitmap, and its text "5-7,10".
///
/// VLAN v is bit (v mod 8) of byte (v div 8). Any number may be asked for: what lies outside 0..4095, such as the 65535
/// of a frame without a tag, is in no set.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "platform/sysmng.h"

namespace dhcp::base {

inline constexpr int first_vlan = 1, last_vlan = 4094;
inline constexpr int bad_vlan = -90;  // what setters answer when the device has no such VLAN
inline constexpr size_t vlan_bitmap_size = 512;

using VlanBits = std::span<const uint8_t, vlan_bitmap_size>;

inline bool vlan_in(VlanBits bits, int vlan) {
  const auto v = static_cast<uint32_t>(vlan);
  return v / 8 < bits.size() && (bits[v / 8] >> (v % 8) & 1) != 0;
}

inline void vlan_put(std::span<uint8_t, vlan_bitmap_size> bits, int vlan, bool member) {
  const auto v = static_cast<uint32_t>(vlan);
  if (v / 8 >= bits.size()) return;
  const auto bit = static_cast<uint8_t>(1U << (v % 8));
  bits[v / 8] = static_cast<uint8_t>(member ? bits[v / 8] | bit : bits[v / 8] & ~bit);
}

/// The first member at or after `vlan`, or a number above last_vlan.
inline int next_vlan(VlanBits bits, int vlan) {
  while (vlan <= last_vlan && !vlan_in(bits, vlan)) ++vlan;
  return vlan;
}

inline bool any_vlan(VlanBits bits) { return next_vlan(bits, first_vlan) <= last_vlan; }

/// True when the device has that VLAN.
inline bool vlan_exists(int vlan) {
  constexpr int must_exist = 2;
  return vlan >= first_vlan && vlan <= last_vlan && get_vlan_valid(static_cast<uint32_t>(vlan), must_exist) == 0;
}

/// Members ascending, runs as "a-b", items separated by commas. Written piece by piece: the longest text is far larger
/// than a task's stack should carry.
void write_vlan_list(FILE* out, VlanBits bits);

/// Members ascending in a display's column, eight to a line, "None" when there are none. The label stands before the
/// first line already; the others begin under it with a colon.
void write_vlan_column(FILE* out, VlanBits bits);

}  // namespace dhcp::base
