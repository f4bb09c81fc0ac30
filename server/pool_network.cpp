/// A pool's subnet, range and lease.
#include "base/log.h"
#include "base/text.h"
#include "server/pool_call.h"

using namespace dhcp::server;
using dhcp::base::IpText;

namespace {

/// Refuses a network that some pool has while the first pool with the same mask is another one. The two look-ups are
/// independent on purpose: setting a pool's own network again is refused too once a newer pool shares its mask.
bool network_taken(const DhcpPool& pool, uint32_t network, uint32_t netmask) {
  const DhcpPool* same_mask = dhcp_get_pool_by_netmask(netmask);
  return dhcp_get_pool_by_network(network) != nullptr && same_mask != nullptr && same_mask != &pool;
}

int set_network(uint32_t pool_id, uint32_t network, uint32_t netmask, uint32_t start_ip, uint32_t end_ip) {
  const PoolCall pool(pool_id);
  if (!pool || network_taken(*pool, network, netmask)) return -1;
  const bool had_network = pool->network != 0 && pool->netmask != 0;
  pool->network = network;
  pool->netmask = netmask;
  pool->start_ip = start_ip;
  pool->end_ip = end_ip;
  if (pool->lease == 0) pool->lease = default_lease_s;
  if (had_network) dhcp_delete_out_range_binding(&*pool);
  addresses_changed();
  return 0;
}

}  // namespace

int dhcp_server_set_pool_network(uint32_t pool_id, uint32_t network, uint32_t netmask, uint32_t start_ip,
                                 uint32_t end_ip) {
  if (set_network(pool_id, network, netmask, start_ip, end_ip) != 0) return -1;
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set server pool network",
                     "set server pool network; pool_id:%d, subnet:%s, netmask:%s, start_ip:%s, end_ip:%s\n",
                     static_cast<int>(pool_id), IpText(network).c_str(), IpText(netmask).c_str(),
                     IpText(start_ip).c_str(), IpText(end_ip).c_str());
  return 0;
}

int dhcp_server_del_pool_network(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  dhcp_delete_pool_ref_binding(&*pool);
  pool->network = pool->netmask = pool->start_ip = pool->end_ip = pool->lease = 0;
  addresses_changed();
  DHCP_LOG_AT_SPACED(dhcp::base::module_service, "pool network", " pool_id:%u.\n", pool_id);
  return 0;
}

int dhcp_server_set_pool_lease(uint32_t pool_id, uint32_t seconds) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  pool->lease = seconds;
  DHCP_LOG_AT_SPACED(dhcp::base::module_service, "pool lease", " pool_id:%u, lease_time:%u.\n", pool_id, seconds);
  return 0;
}
