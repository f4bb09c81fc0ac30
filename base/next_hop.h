/// The search for the VLAN interface by which a server is reached: the same walk for both families.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "platform/sysmng.h"

namespace dhcp::base {

/// What one VLAN interface says to the search.
enum class Hop {
  elsewhere,  // neither its subnet nor its gateway leads there
  dead_end,   // ends the search without a result
  here,
};

inline constexpr uint32_t searched_vlans = 8;

/// Asks `judge(info)` about the first eight of the device's layer-3 VLANs, in their order; those without layer-3
/// information are skipped. The VLAN that said `here`, or 0. The device's VLAN list is large and kept off the stack.
template <class Judge>
uint32_t find_hop_vlan(Judge judge) {
  constexpr int layer3_vlans = 2;
  const std::unique_ptr<sysmng_vlan_list> list(new (std::nothrow) sysmng_vlan_list{});
  if (list == nullptr || sysmng_vlan_get(layer3_vlans, list.get()) < 0) return 0;
  const uint32_t count = std::min(list->count, searched_vlans);
  for (uint32_t i = 0; i < count; ++i) {
    sysmng_vlan_info info{};
    if (sysmng_vlan_info_get(list->vid[i], &info) < 1) continue;
    switch (judge(info)) {
      case Hop::here: return list->vid[i];
      case Hop::dead_end: return 0;
      case Hop::elsewhere: break;
    }
  }
  return 0;
}

}  // namespace dhcp::base
