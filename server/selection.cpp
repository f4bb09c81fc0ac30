#include "server/selection.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "platform/sysmng.h"
#include "server/bindings.h"
#include "server/conflicts.h"
#include "server/server.h"

namespace dhcp::server {

namespace {

/// How far one pool has been scanned. No address from the pool's first up to the frontier is free, but for those
/// listed as open: addresses that have been released since, and free ones that are the device's own at the moment,
/// which is asked anew every time. Whatever else frees addresses makes all scans begin again.
struct Scan {
  uint32_t pool_id = 0, start_ip = 0, end_ip = 0;
  uint64_t era = 0;
  uint64_t frontier = 0;  // may lie one behind the last address there is
  size_t open_count = 0;
  std::array<uint32_t, 128> open{};  // ascending

  auto open_begin() { return open.begin(); }
  auto open_end() { return open.begin() + static_cast<std::ptrdiff_t>(open_count); }
};

std::array<Scan, DHCPS_MAX_POOLS> scans;
uint64_t era = 1;

void begin_again(Scan& scan) {
  scan.frontier = scan.start_ip;
  scan.open_count = 0;
}

/// Lists `ip`, which lies below the frontier or on it, as open. False when there is no room.
bool add_open(Scan& scan, uint32_t ip) {
  const auto at = std::lower_bound(scan.open_begin(), scan.open_end(), ip);
  if (at != scan.open_end() && *at == ip) return true;
  if (scan.open_count == scan.open.size()) return false;
  std::copy_backward(at, scan.open_end(), scan.open_end() + 1);
  *at = ip;
  ++scan.open_count;
  return true;
}

bool describes(const Scan& scan, const DhcpPool& pool) {
  return scan.era == era && scan.pool_id == pool.pool_id && scan.start_ip == pool.start_ip &&
         scan.end_ip == pool.end_ip;
}

/// The pool's scan; without one, a scan that is out of date or of another range is begun again for it.
Scan& scan_of(const DhcpPool& pool) {
  Scan* found = &scans[pool.pool_id % scans.size()];
  for (Scan& scan : scans) {
    if (scan.era != era) found = &scan;
    if (scan.era == era && scan.pool_id == pool.pool_id) {
      found = &scan;
      break;
    }
  }
  if (describes(*found, pool)) return *found;
  found->pool_id = pool.pool_id;
  found->start_ip = pool.start_ip;
  found->end_ip = pool.end_ip;
  found->era = era;
  begin_again(*found);
  return *found;
}

bool device_own(uint32_t ip) { return sysmng_get_vlan_by_ipaddr(ip) != 0; }

bool host_address(DhcpPool& pool, uint32_t ip) { return dhcp_get_static_host_by_ip(&pool, ip) != nullptr; }

/// The last address of an excluded range that `ip` lies in: the whole of it can be passed over.
std::optional<uint32_t> last_excluded(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.excludes.busy);
  std::optional<uint32_t> last;
  for (const DhcpExcludeRange& range : base::Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
    if (range.start_ip <= ip && ip <= range.end_ip && (!last || *last < range.end_ip)) last = range.end_ip;
  }
  return last;
}

/// The lowest open address that is free. Those found taken on the way are struck off: they come back when released.
std::optional<uint32_t> lowest_open(Scan& scan, DhcpPool& pool) {
  size_t kept = 0;
  std::optional<uint32_t> found;
  for (size_t i = 0; i < scan.open_count; ++i) {
    const uint32_t ip = scan.open[i];
    if (!found) {
      if (bound(ip) || in_conflict(ip) || excluded(ip) || host_address(pool, ip)) continue;
      if (!device_own(ip)) found = ip;
    }
    scan.open[kept++] = ip;
  }
  scan.open_count = kept;
  return found;
}

/// What a scan from the pool's first address would find; 0 = nothing.
uint32_t lowest_free(DhcpPool& pool) {
  if (pool.end_ip < pool.start_ip) return 0;
  Scan& scan = scan_of(pool);
  if (const auto open = lowest_open(scan, pool)) return *open;
  bool remembering = true;
  for (uint64_t at = scan.frontier; at <= pool.end_ip;) {
    const auto ip = static_cast<uint32_t>(at);
    if (const auto last = last_excluded(ip)) {
      at = uint64_t{*last} + 1;
    } else if (bound(ip) || in_conflict(ip) || host_address(pool, ip)) {
      ++at;
    } else if (!device_own(ip)) {
      return ip;
    } else {
      // An own address that cannot be listed holds the frontier back, lest it be forgotten.
      remembering = remembering && add_open(scan, ip);
      ++at;
    }
    if (remembering) scan.frontier = at;
  }
  return 0;
}

/// Whether what a client has asked for, or what its static host holds, may be tried at all.
bool acceptable(const DhcpPool& pool, uint32_t ip) {
  if (ip == 0 || device_own(ip)) return false;
  if (ip < pool.start_ip || ip > pool.end_ip) return false;
  return !bound(ip) && !in_conflict(ip);
}

}  // namespace

void addresses_changed() { ++era; }

void address_released(uint32_t ip) {
  for (Scan& scan : scans) {
    if (scan.era != era || ip < scan.start_ip || ip > scan.end_ip || ip >= scan.frontier) continue;
    if (!add_open(scan, ip)) begin_again(scan);
  }
}

}  // namespace dhcp::server

uint32_t dhcp_select_ip_addr(DhcpPool* pool, DhcpStaticHost* host, uint32_t requested) {
  using namespace dhcp::server;
  const uint32_t candidate = host != nullptr ? host->ip : requested;
  if (acceptable(*pool, candidate)) {
    if (host != nullptr) return candidate;
    if (!excluded(candidate) && !host_address(*pool, candidate)) return candidate;
  }
  return lowest_free(*pool);
}
