/// A pool's routers and DNS servers: two lists of addresses that keep the order in which they are given.
#include <cstdio>

#include "base/log.h"
#include "server/pool_call.h"

using namespace dhcp::server;

namespace {

enum FillResult { fill_done = 0, fill_no_memory = -1, fill_refused = -2 };

/// Replaces the list by `ips`, from the last to the first because records go in at the head. Stops at an address that
/// `accepts` refuses, or when memory ends; what was added until then stays.
template <class Accepts>
FillResult refill(DhcpPoolList& list, const uint32_t* ips, int count, Accepts accepts) {
  free_records<DhcpIpNode>(list);
  for (int i = count - 1; i >= 0; --i) {
    std::unique_ptr<DhcpIpNode> node(new (std::nothrow) DhcpIpNode{{}, ips[i]});
    if (node == nullptr) return fill_no_memory;
    if (!accepts(ips[i])) return fill_refused;
    link_record(list, node.release());
  }
  return fill_done;
}

}  // namespace

int dhcp_server_set_router(uint32_t pool_id, const uint32_t* ips, int count) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  const FillResult result = refill(pool->routers, ips, count,
                                   [pool_id](uint32_t ip) { return dhcp_get_pool_by_router(ip, pool_id) != nullptr; });
  if (result == fill_no_memory) {
    DHCP_LOG_AT(dhcp::base::module_frame, "dhcpc", "memory malloc failed for dhcp router!!\n");
  }
  return result;
}

int dhcp_server_del_router(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  free_records<DhcpIpNode>(pool->routers);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "del router", "pool_id:%u.\n", pool_id);
  return 0;
}

int dhcp_server_set_dns_srv(uint32_t pool_id, const uint32_t* ips, int count) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  if (refill(pool->dns_servers, ips, count, [](uint32_t) { return true; }) != fill_done) {
    // The router's words, for both lists.
    DHCP_LOG_AT(dhcp::base::module_frame, "dhcpc", "memory malloc failed for dhcp router!!\n");
    fprintf(stderr, "memory malloc failed for dhcp router!!\n");
    return -1;
  }
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "dns srv", "pool_id:%u, num:%d.\n", pool_id, count);
  return 0;
}

int dhcp_server_del_dns_srv(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  free_records<DhcpIpNode>(pool->dns_servers);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "del dns srv", "pool_id:%u.\n", pool_id);
  return 0;
}
