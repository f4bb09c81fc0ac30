/// The server in the middle of its life: pools, hosts, ranges, conflicts and leases are there when a frame comes in.
#pragma once

#include <cstdint>

#include "dhcp/server.h"

namespace dhcp::fuzz {

/// Four pools: an ordinary one on VLAN 10, a tiny one on VLAN 20 with leases for ever, one for a relay's clients, and
/// one that ends with the last address there is.
struct PoolPlan {
  uint32_t id, network, netmask, start_ip, end_ip, lease;
};
inline constexpr PoolPlan pool_plans[] = {
    {1, 0x0a0a0000, 0xffffff00, 0x0a0a000a, 0x0a0a0020, 3600},
    {2, 0x0a140000, 0xffffff00, 0x0a140005, 0x0a140009, 0xffffffff},
    {3, 0x0a1e0000, 0xffff0000, 0x0a1e0001, 0x0a1e0320, 86400},
    {4, 0xffffff00, 0xffffff00, 0xfffffffa, 0xffffffff, 0xfffffff0},
};

/// An address near the start of one of the pools: bits 5-6 choose the pool, the rest the place.
inline uint32_t pool_address(uint8_t choice) {
  const PoolPlan& plan = pool_plans[choice >> 5 & 3];
  return plan.start_ip + (choice & 31) - 2;
}

/// A new server with these pools and a few of everything else.
void build_world();

/// Sets a pool up as planned, or again so.
void set_pool(const PoolPlan& plan);

/// Counts, links and busy words agree; no address is bound twice or outside its pool. Aborts otherwise.
void check_records();

/// Address selection answers what a plain scan of the pool answers. Aborts otherwise.
void check_selection();

}  // namespace dhcp::fuzz
