#include "server/conflicts.h"

#include <cstdio>

#include "base/conflict_list.h"
#include "base/log.h"
#include "base/os.h"
#include "server/selection.h"

namespace dhcp::server {

namespace {

struct ConflictTraits {
  using Record = DhcpConflictIp;
  using Address = uint32_t;
  static constexpr int32_t limit = DHCPS_MAX_CONFLICTS;
  static DhcpServerList& list() { return dhcps_cfg.conflicts; }
  static uint32_t address(const DhcpConflictIp& conflict) { return conflict.ip; }
  static void store(DhcpConflictIp& conflict, uint32_t ip) { conflict.ip = ip; }
  static uint32_t hash(uint32_t ip) { return base::address_hash(ip); }
  static void released(uint32_t ip) { address_released(ip); }
};

base::ConflictList<ConflictTraits> conflicts;

}  // namespace

bool in_conflict(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  return conflicts.find(ip) != nullptr;
}

void delete_conflict(DhcpConflictIp& conflict) { conflicts.remove(conflict); }

void delete_all_conflicts() { conflicts.remove_all(); }

}  // namespace dhcp::server

using namespace dhcp;

DhcpConflictIp* dhcp_get_conflict_ip(DhcpListHead* conflicts, uint32_t ip) {
  if (conflicts == &dhcps_cfg.conflicts.head) return server::conflicts.find(ip);
  return server::find_record<DhcpConflictIp>(*conflicts, [ip](const DhcpConflictIp& entry) { return entry.ip == ip; });
}

int dhcp_add_conflict_ip(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  if (server::conflicts.report(ip, base::now32())) return 0;
  DHCP_LOG_AT(base::module_frame, "dhcpc", "memory mallc failed for dhcp conflict ip node failed !!\n");
  fprintf(stderr, "memory mallc failed for dhcp conflict ip node failed !!\n");
  return -1;
}

void dhcps_conflict_expire_timeout() {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  server::conflicts.expire(base::now32());
}
