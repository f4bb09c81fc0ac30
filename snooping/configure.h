/// What the operator's commands share.
#pragma once

#include "base/vlan_set.h"
#include "platform/sysmng.h"

namespace dhcp::snooping {

inline constexpr int bad_vlan = -90;

/// True when the device has that VLAN.
inline bool vlan_exists(int vlan) {
  constexpr int must_exist = 2;
  return vlan >= base::first_vlan && vlan <= base::last_vlan &&
         get_vlan_valid(static_cast<uint32_t>(vlan), must_exist) == 0;
}

}  // namespace dhcp::snooping
