/// Which address a client is offered: its own, or what it asks for, when that is free; else the lowest free one.
#include "base/free_scan.h"
#include "platform/sysmng.h"
#include "server6/bindings.h"
#include "server6/conflicts.h"
#include "server6/pool_lists.h"

namespace dhcp::server6 {

namespace {

base::FreeScans<Ip6, DHCP6S_MAX_POOLS> scans;

bool device_own(const Ip6& ip) { return sysmng_get_vlan_by_ip6addr(ip.bytes.data()) != 0; }

/// What the scan of a pool asks about an address.
struct Asks {
  const Dhcp6Pool& pool;

  static bool device_own(const Ip6& ip) { return server6::device_own(ip); }
  bool taken(const Ip6& ip) const { return bound(ip) || in_conflict(ip) || host_with(pool, ip) != nullptr; }
  std::optional<Ip6> last_excluded(const Ip6& ip) const {
    return excluded(pool, ip) ? std::optional(ip) : std::nullopt;
  }
};

/// The scan goes from the first address to the end, or to the end of the prefix, whatever lies in it below the first.
base::ScanRange<Ip6> range_of(const Dhcp6Pool& pool) {
  const Ip6 start = Ip6::from(pool.start);
  return {pool.pool_id, start, pool.prefix_len == 0 ? Ip6::from(pool.end) : start.last_in_prefix(pool.prefix_len)};
}

/// Whether a client may have the very address that it asks for, or that is kept for it as a static host.
bool acceptable(const Dhcp6Pool& pool, const Ip6& ip, bool is_static) {
  if (device_own(ip) || !in_pool(pool, ip) || bound(ip) || in_conflict(ip)) return false;
  return is_static || (!excluded(pool, ip) && host_with(pool, ip) == nullptr);
}

}  // namespace

void addresses_changed() { scans.forget(); }

void address_released(const Ip6& ip) { scans.released(ip); }

}  // namespace dhcp::server6

using namespace dhcp::server6;

int dhcp6_select_ip_addr(Dhcp6Pool* pool, Dhcp6StaticHost* host, const uint8_t* requested, uint8_t ip6_out[16]) {
  const uint8_t* candidate = host != nullptr ? host->ip6 : requested;
  if (candidate != nullptr && acceptable(*pool, Ip6::from(candidate), host != nullptr)) {
    Ip6::from(candidate).copy_to(ip6_out);
    return 0;
  }
  const auto free = scans.lowest_free(range_of(*pool), Asks{*pool});
  if (!free) return -1;
  free->copy_to(ip6_out);
  return 0;
}

int dhcp6_request_ip_check(const uint8_t ip6[16]) {
  const Ip6 ip = Ip6::from(ip6);
  return device_own(ip) || in_conflict(ip) ? -1 : 0;
}
