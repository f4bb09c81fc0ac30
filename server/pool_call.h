/// The frame of every configuration call on a pool: server lock, pools' word, look-up; all given back at the end of the
/// scope, the word before the lock.
#pragma once

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

/// The lock, the pools' word, and the pool with an id, which may be none.
class PoolCall {
 public:
  explicit PoolCall(uint32_t pool_id) : pool_(dhcp_get_pool_by_id(pool_id)) {}
  explicit operator bool() const { return pool_ != nullptr; }
  DhcpPool* operator->() const { return pool_; }
  DhcpPool& operator*() const { return *pool_; }

 private:
  PoolsLock lock_;
  DhcpPool* pool_;
};

inline constexpr uint16_t default_boot_file_blocks = 512;  // of 512 octets

/// Makes a pool with nothing in it; null when there is no memory.
DhcpPool* new_pool(uint32_t pool_id);

/// Unlinks a pool and frees it with everything that hangs from it but its bindings, which are gone by then.
void free_pool(DhcpPool& pool);

}  // namespace dhcp::server
