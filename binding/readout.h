/// Bindings and interfaces as values: what displays and programs read instead of the records themselves.
#pragma once

#include <algorithm>
#include <iterator>

#include "binding/interfaces.h"
#include "binding/table.h"

namespace dhcp::binding {

/// Copies the first `room` bindings; `set_address(value, binding)` adds what differs between the families. Returns how
/// many there are.
template <class Value, class Traits, class SetAddress>
int copy_bindings(const Table<Traits>& table, Value* out, int room, SetAddress set_address) {
  int count = 0;
  table.each_held([&](const typename Traits::Entry& binding) {
    if (count++ >= room) return;
    Value value{};
    std::copy(std::begin(binding.mac), std::end(binding.mac), value.mac);
    value.intf = binding.intf;
    value.vlan = binding.vlan;
    value.lease = binding.lease;
    value.age = seconds_since(binding.time, base::now32());
    value.is_static = binding.is_static;
    value.state = binding.state;
    set_address(value, binding);
    out[count - 1] = value;
  });
  return count;
}

/// The same for interfaces, ascending; their links are null.
inline int copy_interfaces(const Interfaces& interfaces, SnoopIntfEntry* out, int room) {
  int count = 0;
  interfaces.each([&](const SnoopIntfEntry& entry) {
    if (count++ >= room) return;
    out[count - 1] = entry;
    out[count - 1].next = out[count - 1].prev = nullptr;
  });
  return count;
}

}  // namespace dhcp::binding
