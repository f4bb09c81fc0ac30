/// Pools come and go.
#include <cstdio>

#include "base/log.h"
#include "server/pool_call.h"

namespace dhcp::server {

DhcpPool* new_pool(uint32_t pool_id) {
  auto* pool = new (std::nothrow) DhcpPool{};
  if (pool == nullptr) return nullptr;
  pool->pool_id = pool_id;
  pool->boot_file_size = default_boot_file_blocks;
  for (DhcpPoolList* list : {&pool->options, &pool->hosts, &pool->routers, &pool->dns_servers}) {
    base::list_init(list->head);
  }
  return pool;
}

void free_pool(DhcpPool& pool) {
  free_records<DhcpPoolOption>(pool.options);
  free_records<DhcpStaticHost>(pool.hosts);
  free_records<DhcpIpNode>(pool.routers);
  free_records<DhcpIpNode>(pool.dns_servers);
  delete[] pool.domain_name;
  delete[] pool.server_name;
  delete[] pool.boot_file;
  free_record(dhcps_cfg.pools, &pool);
}

}  // namespace dhcp::server

using namespace dhcp::server;

int dhcp_server_create_pool_entry(uint32_t pool_id) {
  const PoolsLock lock;
  if (dhcp_get_pool_by_id(pool_id) != nullptr) return 0;
  if (dhcps_cfg.pools.count >= DHCPS_MAX_POOLS) return -2;
  DhcpPool* pool = new_pool(pool_id);
  if (pool == nullptr) {
    fprintf(stderr, "memory malloc failed for dhcp pool entry!!\n");
    DHCP_LOG_AT_SPACED(dhcp::base::module_relay, "memory malloc failed", "memory malloc failed for dhcp pool entry.\n");
    return -1;
  }
  link_record(dhcps_cfg.pools, pool);
  return 0;
}

int dhcp_server_del_pool_entry(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return 0;
  dhcp_delete_pool_ref_binding(&*pool);
  free_pool(*pool);
  addresses_changed();
  return 0;
}
