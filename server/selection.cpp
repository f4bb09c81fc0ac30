#include "server/selection.h"

#include <optional>

#include "base/free_scan.h"
#include "platform/sysmng.h"
#include "server/bindings.h"
#include "server/conflicts.h"
#include "server/server.h"

namespace dhcp::server {

namespace {

base::FreeScans<uint32_t, DHCPS_MAX_POOLS> scans;

bool host_address(DhcpPool& pool, uint32_t ip) { return dhcp_get_static_host_by_ip(&pool, ip) != nullptr; }

/// What the scan of a pool asks about an address.
struct Asks {
  DhcpPool& pool;

  static bool device_own(uint32_t ip) { return sysmng_get_vlan_by_ipaddr(ip) != 0; }
  bool taken(uint32_t ip) const { return bound(ip) || in_conflict(ip) || host_address(pool, ip); }
  static std::optional<uint32_t> last_excluded(uint32_t ip) {
    const base::BusyGuard busy(dhcps_cfg.excludes.busy);
    std::optional<uint32_t> last;
    for (const DhcpExcludeRange& range : base::Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
      if (range.start_ip <= ip && ip <= range.end_ip && (!last || *last < range.end_ip)) last = range.end_ip;
    }
    return last;
  }
};

/// Whether what a client has asked for, or what its static host holds, may be tried at all.
bool acceptable(const DhcpPool& pool, uint32_t ip) {
  if (ip == 0 || Asks::device_own(ip)) return false;
  if (ip < pool.start_ip || ip > pool.end_ip) return false;
  return !bound(ip) && !in_conflict(ip);
}

}  // namespace

void addresses_changed() { scans.forget(); }

void address_released(uint32_t ip) { scans.released(ip); }

}  // namespace dhcp::server

uint32_t dhcp_select_ip_addr(DhcpPool* pool, DhcpStaticHost* host, uint32_t requested) {
  using namespace dhcp::server;
  const uint32_t candidate = host != nullptr ? host->ip : requested;
  if (acceptable(*pool, candidate)) {
    if (host != nullptr) return candidate;
    if (!excluded(candidate) && !host_address(*pool, candidate)) return candidate;
  }
  return scans.lowest_free({pool->pool_id, pool->start_ip, pool->end_ip}, Asks{*pool}).value_or(0);
}
