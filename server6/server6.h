/// The DHCPv6 server: pools, leases, conflicts, and the answers to clients, directly or through relays.
///
/// It owns the record `dhcp6s_cfg` and everything that hangs from it. A mutex of its own is held for the whole of a
/// configuration call, a message or an ageing pass, and inside it the pools' busy word; inside that the word of the
/// bindings or of the conflicts while that list is walked or changed. The mutex is there so that nobody in the module
/// ever waits for a word, which is done in half-second steps. No platform call made under these comes back into the
/// module.
///
/// Inner functions here expect the pools' word; the exported ones in dhcp/server6.h say what they take.
#pragma once

#include <cstdint>
#include <optional>

#include "base/guard.h"
#include "base/ip6.h"
#include "base/pool_call.h"
#include "base/record_list.h"
#include "dhcp/server6.h"

namespace dhcp::server6 {

using base::Ip6;

inline constexpr uint32_t infinite_lifetime = 0xffffffff;
inline constexpr uint32_t default_preferred_s = 43200, default_valid_s = 86400;

/// The server's mutex and the pools' word for a scope.
class PoolsLock {
 public:
  PoolsLock();

 private:
  base::MutexGuard mutex_;
  base::BusyGuard busy_;
};

using PoolCall = base::PoolCall<PoolsLock, dhcp6_get_pool_by_id>;

/// Every pool, newest first; the pool in hand may be deleted.
inline base::Records<Dhcp6Pool> pools() { return base::Records<Dhcp6Pool>(dhcp6s_cfg.pools.head); }

bool has_network(const Dhcp6Pool& pool);

/// True when the pool may hand out `ip` as far as its network says: all of a prefix, below the first address too, or
/// from start to end.
bool in_pool(const Dhcp6Pool& pool, const Ip6& ip);

/// Says that addresses have become free or taken other than by a binding or a conflict: a pool's network, its hosts or
/// excluded addresses have changed. Every such change calls it, so that address selection may remember between calls
/// which addresses it has seen taken.
void addresses_changed();

/// Says that a binding or a conflict has let go of `ip`.
void address_released(const Ip6& ip);

}  // namespace dhcp::server6
