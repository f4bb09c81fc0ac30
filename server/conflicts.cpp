#include "server/conflicts.h"

#include <cstdio>
#include <new>

#include "base/log.h"
#include "base/os.h"
#include "server/chain_table.h"
#include "server/record_list.h"
#include "server/selection.h"

namespace dhcp::server {

namespace {

/// A conflict as it is allocated: the record and its place in the index.
struct ConflictNode : DhcpConflictIp {
  Chain<ConflictNode> by_ip;
};

ChainTable<ConflictNode, &ConflictNode::by_ip> conflicts_by_ip;

ConflictNode* find_conflict(uint32_t ip) {
  return conflicts_by_ip.find(address_hash(ip), [ip](const ConflictNode& node) { return node.ip == ip; });
}

base::Records<DhcpConflictIp> conflicts() { return base::Records<DhcpConflictIp>(dhcps_cfg.conflicts.head); }

}  // namespace

bool in_conflict(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  return find_conflict(ip) != nullptr;
}

void delete_conflict(DhcpConflictIp& conflict) {
  auto& node = static_cast<ConflictNode&>(conflict);
  const uint32_t ip = node.ip;
  conflicts_by_ip.remove(node);
  free_record(dhcps_cfg.conflicts, &node);
  address_released(ip);
}

void delete_all_conflicts() {
  for (DhcpConflictIp& conflict : conflicts()) delete_conflict(conflict);
}

}  // namespace dhcp::server

using namespace dhcp;

DhcpConflictIp* dhcp_get_conflict_ip(DhcpListHead* conflicts, uint32_t ip) {
  if (conflicts == &dhcps_cfg.conflicts.head) return server::find_conflict(ip);
  return server::find_record<DhcpConflictIp>(*conflicts, [ip](const DhcpConflictIp& entry) { return entry.ip == ip; });
}

int dhcp_add_conflict_ip(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  if (auto* known = server::find_conflict(ip)) {
    known->time = base::now32();
    return 0;
  }
  auto* node = new (std::nothrow) server::ConflictNode{};
  if (node == nullptr) {
    DHCP_LOG_AT(base::module_frame, "dhcpc", "memory mallc failed for dhcp conflict ip node failed !!\n");
    fprintf(stderr, "memory mallc failed for dhcp conflict ip node failed !!\n");
    return -1;
  }
  node->ip = ip;
  node->time = base::now32();
  server::link_record(dhcps_cfg.conflicts, node);
  server::conflicts_by_ip.insert(*node, server::address_hash(ip));
  return 0;
}

void dhcps_conflict_expire_timeout() {
  const base::BusyGuard busy(dhcps_cfg.conflicts.busy);
  const uint64_t now = base::now32();
  for (DhcpConflictIp& conflict : server::conflicts()) {
    if (uint64_t{conflict.time} + server::conflict_hold_s < now) server::delete_conflict(conflict);
  }
}
