/// Offers and leases: the list `dhcps_cfg.bindings`, and beside it the indexes that find one by client or by address
/// without walking it.
///
/// Every record on the list is made by add_binding() and ended by dhcp_delete_binding(). State and expiry may be
/// changed in place; client, pool and address may not.
#pragma once

#include <memory>
#include <optional>

#include "server/client_key.h"
#include "server/server.h"

namespace dhcp::server {

inline constexpr uint32_t offer_hold_s = 5;

/// A binding as it is allocated.
struct BindingNode;
struct FreeNode {
  void operator()(BindingNode* node) const;
};
/// The memory of a binding that has been taken back, for the client's next one: nobody loses a lease to ask for it anew
/// and then finds that there is no memory.
using SpareNode = std::unique_ptr<BindingNode, FreeNode>;

/// Takes what the client holds in the pool, offer or lease, off the list; null when there is none. Takes the bindings'
/// word.
SpareNode take_back(const ClientKey& key, DhcpPool& pool);
/// The address that a binding held.
uint32_t address_of(const BindingNode& node);

/// An offer of `ip` to a client, newest of the list, in the memory of `spare` where there is one; null at the limit or
/// without memory. Takes the bindings' word.
DhcpBinding* add_binding(const ClientKey& key, uint32_t xid, DhcpPool& pool, uint32_t ip, SpareNode spare = nullptr);

/// The newest binding whose client matches: same type, and equal over the length that is stored. Without a pool, of
/// whatever pool and address; `ip` 0 = any address of the pool. The caller holds the bindings' word.
DhcpBinding* find_binding(const ClientKey& key, std::optional<uint32_t> pool_id, uint32_t ip);

/// True when a binding of any pool holds `ip`. Takes the bindings' word.
bool bound(uint32_t ip);

}  // namespace dhcp::server
