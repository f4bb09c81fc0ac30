/// Pools come and go; a pool's network and lifetimes.
#include <algorithm>
#include <cstdio>

#include "server6/bindings.h"
#include "server6/server6.h"

namespace dhcp::server6 {

namespace {

constexpr int address_bits = 128;

void clear_network(Dhcp6Pool& pool) {
  Ip6{}.copy_to(pool.start);
  Ip6{}.copy_to(pool.end);
  pool.prefix_len = 0;
  pool.preferred = pool.valid = 0;
}

}  // namespace

bool has_network(const Dhcp6Pool& pool) { return !Ip6::from(pool.start).is_zero() || !Ip6::from(pool.end).is_zero(); }

bool in_pool(const Dhcp6Pool& pool, const Ip6& ip) {
  const Ip6 start = Ip6::from(pool.start);
  if (pool.prefix_len != 0) return ip.in_prefix(start, pool.prefix_len);
  return start <= ip && ip <= Ip6::from(pool.end);
}

}  // namespace dhcp::server6

using namespace dhcp::server6;
using dhcp::base::Ip6;

Dhcp6Pool* dhcp6_get_pool_by_id(uint32_t pool_id) {
  return dhcp::base::find_record<Dhcp6Pool>(dhcp6s_cfg.pools.head,
                                            [=](const Dhcp6Pool& pool) { return pool.pool_id == pool_id; });
}

int dhcp6_server_create_pool_entry(uint32_t pool_id) {
  const PoolsLock lock;
  if (dhcp6_get_pool_by_id(pool_id) != nullptr) return 0;
  if (dhcp6s_cfg.pools.count >= DHCP6S_MAX_POOLS) return -2;
  auto* pool = new (std::nothrow) Dhcp6Pool{};
  if (pool == nullptr) {
    fprintf(stderr, "malloc failed for dhcp6 pool!\n");
    return -1;
  }
  pool->pool_id = pool_id;
  dhcp::base::link_record(dhcp6s_cfg.pools, pool);
  return 0;
}

int dhcp6_server_del_pool_entry(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return 0;
  delete_bindings_of(*pool, [](const Dhcp6Binding&) { return true; });
  dhcp::base::free_record(dhcp6s_cfg.pools, &*pool);
  addresses_changed();
  return 0;
}

int dhcp6_server_set_pool_network(uint32_t pool_id, const uint8_t start[16], const uint8_t end[16], int prefix_len) {
  const PoolCall pool(pool_id);
  if (!pool || prefix_len < 0 || prefix_len > address_bits || (prefix_len == 0 && end == nullptr)) return -1;
  std::copy_n(start, sizeof pool->start, pool->start);
  (prefix_len == 0 ? Ip6::from(end) : Ip6{}).copy_to(pool->end);
  pool->prefix_len = static_cast<uint8_t>(prefix_len);
  if (pool->valid == 0) {
    pool->preferred = default_preferred_s;
    pool->valid = default_valid_s;
  }
  delete_bindings_of(*pool, [&](const Dhcp6Binding& binding) { return !in_pool(*pool, Ip6::from(binding.ip6)); });
  addresses_changed();
  return 0;
}

int dhcp6_server_del_pool_network(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  delete_bindings_of(*pool, [](const Dhcp6Binding&) { return true; });
  clear_network(*pool);
  addresses_changed();
  return 0;
}

int dhcp6_server_set_pool_lifetime(uint32_t pool_id, uint32_t preferred, uint32_t valid) {
  const PoolCall pool(pool_id);
  if (!pool || preferred > valid) return -1;
  pool->preferred = preferred;
  pool->valid = valid;
  return 0;
}
