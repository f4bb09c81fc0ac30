#include "server6/conflicts.h"

#include <cstdio>

#include "base/conflict_list.h"
#include "base/os.h"

namespace dhcp::server6 {

namespace {

struct ConflictTraits {
  using Record = Dhcp6ConflictIp;
  using Address = Ip6;
  static constexpr int32_t limit = DHCP6S_MAX_CONFLICTS;
  static DhcpServerList& list() { return dhcp6s_cfg.conflicts; }
  static Ip6 address(const Dhcp6ConflictIp& conflict) { return Ip6::from(conflict.ip6); }
  static void store(Dhcp6ConflictIp& conflict, const Ip6& ip) { ip.copy_to(conflict.ip6); }
  static uint32_t hash(const Ip6& ip) { return ip.hash(); }
  static void released(const Ip6& ip) { address_released(ip); }
};

base::ConflictList<ConflictTraits> conflicts;

}  // namespace

bool in_conflict(const Ip6& ip) {
  const base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  return conflicts.find(ip) != nullptr;
}

void delete_conflict(const Ip6& ip) {
  const base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  if (Dhcp6ConflictIp* conflict = conflicts.find(ip)) conflicts.remove(*conflict);
}

void delete_all_conflicts() {
  const base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  conflicts.remove_all();
}

void expire_conflicts(uint32_t now) {
  const base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  conflicts.expire(now);
}

}  // namespace dhcp::server6

using namespace dhcp;

int dhcp6_add_conflict_ip(const uint8_t ip6[16]) {
  const base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  const auto ip = base::Ip6::from(ip6);
  if (server6::conflicts.report(ip, base::now32())) return 0;
  fprintf(stderr, "malloc failed for dhcp6 conflict ip!\n");
  return -1;
}
