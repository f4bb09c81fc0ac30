/// Removal of bindings and conflicts by hand.
#include "base/log.h"
#include "base/text.h"
#include "server/conflicts.h"
#include "server/server.h"

using namespace dhcp::server;
using dhcp::base::BusyGuard;
using dhcp::base::IpText;

namespace {

void clear_all_bindings() {
  for (DhcpBinding& binding : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    dhcp_delete_binding(&binding, nullptr);
  }
}

}  // namespace

int dhcp_server_clear_binding(uint32_t ip) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.bindings.busy);
  if (ip == 0) {
    clear_all_bindings();
    return 0;
  }
  auto* binding =
      find_record<DhcpBinding>(dhcps_cfg.bindings.head, [ip](const DhcpBinding& entry) { return entry.ip == ip; });
  if (binding != nullptr) dhcp_delete_binding(binding, nullptr);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "clear binding", "bind_ip:%s.\n", IpText(ip).c_str());
  return 0;
}

int dhcp_server_clear_conflict(uint32_t ip) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.conflicts.busy);
  if (ip == 0) {
    delete_all_conflicts();
  } else if (DhcpConflictIp* conflict = dhcp_get_conflict_ip(&dhcps_cfg.conflicts.head, ip)) {
    delete_conflict(*conflict);
  }
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "clear conflict", "conflict_ip:%s.\n", IpText(ip).c_str());
  return 0;
}
