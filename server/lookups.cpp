/// Look-ups over pools and what hangs from them. Lists are walked newest first; the caller holds the server lock.
#include <cstring>

#include "server/server.h"

namespace dhcp::server {

namespace {

DhcpPool* find_pool(auto matches) { return find_record<DhcpPool>(dhcps_cfg.pools.head, matches); }

}  // namespace

bool excluded(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.excludes.busy);
  return find_record<DhcpExcludeRange>(dhcps_cfg.excludes.head, [ip](const DhcpExcludeRange& range) {
           return range.start_ip <= ip && ip <= range.end_ip;
         }) != nullptr;
}

}  // namespace dhcp::server

using dhcp::server::find_pool;
using dhcp::server::find_record;

DhcpPool* dhcp_get_pool_by_id(uint32_t pool_id) {
  return find_pool([pool_id](const DhcpPool& pool) { return pool.pool_id == pool_id; });
}

DhcpPool* dhcp_get_pool_by_network(uint32_t network) {
  return find_pool([network](const DhcpPool& pool) { return pool.network == network; });
}

DhcpPool* dhcp_get_pool_by_netmask(uint32_t netmask) {
  return find_pool([netmask](const DhcpPool& pool) { return pool.netmask == netmask; });
}

DhcpPool* dhcp_get_pool_by_router(uint32_t router, uint32_t pool_id) {
  return find_pool([=](const DhcpPool& pool) {
    if (pool.network == 0 && pool.netmask == 0) return false;
    return pool.pool_id == pool_id && (router & pool.netmask) == pool.network;
  });
}

DhcpPoolOption* dhcp_get_pool_option(DhcpListHead* options, int code) {
  const auto wanted = static_cast<uint8_t>(code);
  return find_record<DhcpPoolOption>(*options, [=](const DhcpPoolOption& option) { return option.code == wanted; });
}

DhcpExcludeRange* dhcp_get_exclude_ip(DhcpListHead* excludes, uint32_t start_ip, uint32_t end_ip) {
  return find_record<DhcpExcludeRange>(
      *excludes, [=](const DhcpExcludeRange& range) { return range.start_ip == start_ip && range.end_ip == end_ip; });
}

DhcpStaticHost* dhcp_get_static_host(DhcpPool* pool, const uint8_t mac[6]) {
  auto* host = find_record<DhcpStaticHost>(
      pool->hosts.head, [mac](const DhcpStaticHost& entry) { return memcmp(entry.mac, mac, sizeof entry.mac) == 0; });
  // An excluded address hides its host: the client is served like any other.
  return host != nullptr && !dhcp::server::excluded(host->ip) ? host : nullptr;
}

DhcpStaticHost* dhcp_get_static_host_by_ip(DhcpPool* pool, uint32_t ip) {
  return find_record<DhcpStaticHost>(pool->hosts.head, [ip](const DhcpStaticHost& host) { return host.ip == ip; });
}
