/// The frame of every configuration call on a pool: server lock, pools' word, look-up; all given back at the end of the
/// scope, the word before the lock.
#pragma once

#include "base/pool_call.h"
#include "server/server.h"

namespace dhcp::server {

/// The lock and the pools' word.
class PoolsLock {
 public:
  PoolsLock() : busy_(dhcps_cfg.pools.busy) {}

 private:
  ServerLock lock_;
  base::BusyGuard busy_;
};

using PoolCall = base::PoolCall<PoolsLock, dhcp_get_pool_by_id>;

inline constexpr uint16_t default_boot_file_blocks = 512;  // of 512 octets

/// Makes a pool with nothing in it; null when there is no memory.
DhcpPool* new_pool(uint32_t pool_id);

/// Unlinks a pool and frees it with everything that hangs from it but its bindings, which are gone by then.
void free_pool(DhcpPool& pool);

}  // namespace dhcp::server
