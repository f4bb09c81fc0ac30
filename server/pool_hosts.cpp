/// A pool's static hosts: addresses that are kept for one hardware address each.
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "server/pool_call.h"

using namespace dhcp::server;

namespace {

bool held_by_another(DhcpPool& pool, const uint8_t* mac, uint32_t ip) {
  return find_record<DhcpStaticHost>(pool.hosts.head, [=](const DhcpStaticHost& host) {
           return host.ip == ip && memcmp(host.mac, mac, sizeof host.mac) != 0;
         }) != nullptr;
}

/// The host, where it stands in the list; made at the head when there is none that can be found, which is so too for
/// one whose address has been excluded since. Null when there is no memory.
DhcpStaticHost* find_or_make_host(DhcpPool& pool, const uint8_t* mac) {
  DhcpStaticHost* host = dhcp_get_static_host(&pool, mac);
  if (host != nullptr) return host;
  host = new (std::nothrow) DhcpStaticHost{};
  if (host == nullptr) return nullptr;
  memcpy(host->mac, mac, sizeof host->mac);
  link_record(pool.hosts, host);
  return host;
}

}  // namespace

int dhcp_server_set_static_host(uint32_t pool_id, const uint8_t mac[6], uint32_t ip) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  // A full pool refuses before anything else, so that even a known host cannot be moved then.
  if (pool->hosts.count >= DHCPS_MAX_HOSTS) return -2;
  if (ip < pool->start_ip || ip > pool->end_ip) return -1;
  if (held_by_another(*pool, mac, ip)) return -1;
  DhcpStaticHost* host = find_or_make_host(*pool, mac);
  if (host == nullptr) {
    fprintf(stderr, "malloc failed for dhcp static host!\n");
    DHCP_LOG_AT_SPACED(dhcp::base::module_service, "host", " malloc failed for dhcp static host.\n");
    return -1;
  }
  host->ip = ip;
  addresses_changed();
  return 0;
}

int dhcp_server_del_static_host(uint32_t pool_id, const uint8_t mac[6]) {
  const PoolCall pool(pool_id);
  DhcpStaticHost* host = pool ? dhcp_get_static_host(&*pool, mac) : nullptr;
  if (host == nullptr) return -1;
  free_record(pool->hosts, host);
  addresses_changed();
  return 0;
}
