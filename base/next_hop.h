/// The search for the VLAN interface by which a server is reached: the same walk for both families.
#pragma once

#include <array>
#include <cstdint>

#include "platform/sysmng.h"

namespace dhcp::base {

/// What one VLAN interface says to the search.
enum class Hop {
  elsewhere,  // neither its subnet nor its gateway leads there
  dead_end,   // ends the search without a result
  here,
};

/// The first eight of the device's layer-3 VLANs, in its order.
struct SearchedVlans {
  std::array<uint16_t, 8> vid{};
  uint32_t count = 0;
};
SearchedVlans searched_vlans();

/// Asks `judge(info)` about these VLANs; those without layer-3 information are skipped. The VLAN that said `here`, or
/// 0.
template <class Judge>
uint32_t find_hop_vlan(Judge judge) {
  const SearchedVlans vlans = searched_vlans();
  for (uint32_t i = 0; i < vlans.count; ++i) {
    sysmng_vlan_info info{};
    if (sysmng_vlan_info_get(vlans.vid[i], &info) < 1) continue;
    switch (judge(info)) {
      case Hop::here: return vlans.vid[i];
      case Hop::dead_end: return 0;
      case Hop::elsewhere: break;
    }
  }
  return 0;
}

}  // namespace dhcp::base
