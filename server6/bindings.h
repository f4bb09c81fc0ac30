/// Offers and leases: the list `dhcp6s_cfg.bindings`, and beside it the indexes that find one by client or by address
/// without walking it.
///
/// Every record on the list is made by dhcp6_add_binding() and ended here. Lifetimes, IA and state may be changed in
/// place; client, pool and address may not.
#pragma once

#include <memory>
#include <span>

#include "server6/server6.h"

namespace dhcp::server6 {

/// An offer holds an address longer than IPv4's: a client repeats its REQUEST for half a minute, and no answer tells it
/// to begin again.
inline constexpr uint32_t offer_hold_s = 60;

inline base::Records<Dhcp6Binding> bindings() { return base::Records<Dhcp6Binding>(dhcp6s_cfg.bindings.head); }

using ClientId = std::span<const uint8_t>;

/// As dhcp6_get_binding(). The caller holds the bindings' word.
Dhcp6Binding* find_binding(ClientId client, const Dhcp6Pool& pool, const Ip6* ip);

/// A binding as it is allocated.
struct BindingNode;
struct FreeNode {
  void operator()(BindingNode* node) const;
};
/// The memory of a binding that has been taken back, for the client's next one: nobody loses a lease to ask for it anew
/// and then finds that there is no memory.
using SpareNode = std::unique_ptr<BindingNode, FreeNode>;

/// Takes the client's newest binding in the pool off the list; null when there is none. Takes the bindings' word.
SpareNode take_back(ClientId client, const Dhcp6Pool& pool);
/// The address that a binding held.
Ip6 address_of(const BindingNode& node);

/// As dhcp6_add_binding(), in the memory of `spare` where there is one.
Dhcp6Binding* add_binding(ClientId client, Dhcp6Pool& pool, const Ip6& ip, SpareNode spare = nullptr);

/// Takes a binding off the list and frees it. The caller holds the bindings' word.
void delete_binding(Dhcp6Binding& binding);

/// True when a binding of any pool holds `ip`. Takes the bindings' word.
bool bound(const Ip6& ip);

/// True once the clock has passed what a binding may last. It may have been set back meanwhile: then it has not.
bool ended(const Dhcp6Binding& binding, uint32_t now);

/// Deletes the bindings that `matches` accepts. Takes the bindings' word.
template <class Match>
void delete_bindings(Match matches) {
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  for (Dhcp6Binding& binding : bindings()) {
    if (matches(binding)) delete_binding(binding);
  }
}

template <class Match>
void delete_bindings_of(const Dhcp6Pool& pool, Match matches) {
  delete_bindings([&](const Dhcp6Binding& entry) { return entry.pool_id == pool.pool_id && matches(entry); });
}

inline void delete_all_bindings() {
  delete_bindings([](const Dhcp6Binding&) { return true; });
}

}  // namespace dhcp::server6
