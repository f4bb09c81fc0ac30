/// Offers and leases: the list `dhcps_cfg.bindings`, and beside it the indexes that find one by client or by address
/// without walking it.
///
/// Every record on the list is made by add_binding() and ended by dhcp_delete_binding(). State and expiry may be
/// changed in place; client, pool and address may not.
#pragma once

#include <optional>

#include "server/client_key.h"
#include "server/server.h"

namespace dhcp::server {

inline constexpr uint32_t offer_hold_s = 5;

/// An offer of `ip` to a client, newest of the list; null at the limit or without memory. Takes the bindings' word.
DhcpBinding* add_binding(const ClientKey& key, uint32_t xid, DhcpPool& pool, uint32_t ip);

/// The newest binding whose client matches: same type, and equal over the length that is stored. Without a pool, of
/// whatever pool and address; `ip` 0 = any address of the pool. The caller holds the bindings' word.
DhcpBinding* find_binding(const ClientKey& key, std::optional<uint32_t> pool_id, uint32_t ip);

/// True when a binding of any pool holds `ip`. Takes the bindings' word.
bool bound(uint32_t ip);

}  // namespace dhcp::server
