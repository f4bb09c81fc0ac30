/// The IPv4 server: pools and their options, leases, conflicts, and the answers to clients.
///
/// It owns the record `dhcps_cfg` and everything that hangs from it. The server lock (`dhcp_server_sem`) is held for
/// the whole of a configuration call, a message or an ageing pass; inside it the busy word of the list that is walked
/// or changed: pools first, then one of bindings, conflicts or excludes. Pool lookups take no word of their own,
/// because a message holds the pools' word while it is handled. No platform call made under these comes back into the
/// module.
///
/// Inner functions here expect the server lock; the exported ones in dhcp/server.h say what they take.
#pragma once

#include <cstdint>

#include "base/guard.h"
#include "base/record_list.h"
#include "dhcp/server.h"

namespace dhcp::server {

using base::find_record;
using base::free_record;
using base::free_records;
using base::link_record;

inline constexpr uint32_t infinite_lease = 0xffffffff;  // also "never expires"
inline constexpr uint32_t default_lease_s = 86400;

/// Holds the server lock for a scope, with the two log lines that go with it.
class ServerLock {
 public:
  ServerLock();

 private:
  base::SemaphoreGuard guard_;
};

/// Every pool, newest first; the pool in hand may be deleted.
inline base::Records<DhcpPool> pools() { return base::Records<DhcpPool>(dhcps_cfg.pools.head); }

/// True when `ip` lies in an excluded range. Takes the excludes' word.
bool excluded(uint32_t ip);

/// Says that addresses have become free or taken other than by a binding: a pool's network or hosts, the excluded
/// ranges or the conflicts have changed. Every such change calls it, so that address selection may remember between
/// calls which addresses it has seen taken.
void addresses_changed();

/// Forgets all bindings and conflicts and what selection remembers. The lists' heads are empty afterwards.
void reset_bindings();

}  // namespace dhcp::server
