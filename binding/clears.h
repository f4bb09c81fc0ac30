/// Clearing of bindings: one predicate over a set of keys, and the seventeen sets that the host may name.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/mac.h"
#include "binding/table.h"

namespace dhcp::binding {

enum Keys : unsigned { everything = 0, by_ip = 1, by_mac = 2, by_vlan = 4, by_intf = 8, dynamic_only = 16 };

/// In the order of the type codes.
inline constexpr std::array<unsigned, 17> key_sets{
    everything,
    by_ip,
    by_ip | by_mac,
    by_ip | by_mac | by_intf,
    by_ip | by_mac | by_vlan,
    by_ip | by_mac | by_vlan | by_intf,
    by_ip | by_intf,
    by_ip | by_vlan,
    by_ip | by_vlan | by_intf,
    by_mac,
    by_mac | by_intf,
    by_mac | by_vlan,
    by_mac | by_vlan | by_intf,
    by_intf,
    by_intf | dynamic_only,
    by_vlan,
    by_vlan | by_intf,
};

/// What the keys are compared with; those that a set does not use stay unread.
template <class Address>
struct Wanted {
  Address address{};
  base::MacAddress mac{};
  int vlan = 0;
  uint32_t intf = 0;
};

/// The MAC at `mac`; a call without one compares with zeros.
inline base::MacAddress mac_or_zeros(const uint8_t* mac) {
  return mac != nullptr ? base::MacAddress::from(mac) : base::MacAddress{};
}

template <class Traits>
void erase_matching(const Table<Traits>& table, unsigned keys, const Wanted<typename Traits::Address>& wanted) {
  const auto erase = [&](typename Traits::Entry& binding) {
    if ((keys & by_ip) != 0 && Traits::address(binding) != wanted.address) return;
    if ((keys & by_mac) != 0 && base::MacAddress::from(binding.mac) != wanted.mac) return;
    if ((keys & by_vlan) != 0 && binding.vlan != wanted.vlan) return;
    if ((keys & by_intf) != 0 && binding.intf != wanted.intf) return;
    if ((keys & dynamic_only) != 0 && binding.is_static != 0) return;
    table.erase(binding);
  };
  // A wanted MAC lies in one bucket.
  if ((keys & by_mac) != 0) {
    table.each_in_bucket(mac_bucket(wanted.mac.bytes.data()), erase);
  } else {
    table.each(erase);
  }
}

}  // namespace dhcp::binding
