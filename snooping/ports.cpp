/// The interfaces: found, added, counted anew, and what the chip must learn when they change.
#include "base/port_list.h"
#include "snooping/counters.h"
#include "snooping/snooping.h"
#include "trap/trap.h"

namespace dhcp::snooping {

namespace {

/// The caller holds `intf_busy`.
IntfNode* search(uint32_t intf) {
  if (g_dhcp_snooping.intf_list == nullptr) return nullptr;
  intf_order_node* node = intf_order_list_search(g_dhcp_snooping.intf_list, intf);
  return static_cast<IntfNode*>(reinterpret_cast<SnoopIntfEntry*>(node));
}

void clear_counters(IntfNode& node) {
  node.dropped_ack = node.dropped_offer = 0;
  node.counters = {};
}

}  // namespace

IntfNode* find_interface(uint32_t intf) {
  const base::BusyGuard busy(g_dhcp_snooping.intf_busy);
  return search(intf);
}

}  // namespace dhcp::snooping

using namespace dhcp;
using namespace dhcp::snooping;

int dhcp_snooping_add_port(uint32_t intf) {
  const base::BusyGuard busy(g_dhcp_snooping.intf_busy);
  if (g_dhcp_snooping.intf_list == nullptr) return -1;
  if (search(intf) != nullptr) return 0;
  intf_order_node* node = base::new_port_node<IntfNode>(intf);
  if (node == nullptr) return -1;
  if (intf_order_list_add_node(g_dhcp_snooping.intf_list, node) != 0) {
    free(node);
    return -1;
  }
  ++g_dhcp_snooping.intf_count;
  return 0;
}

int dhcp_port_change_action() {
  if (!trap::dhcp4_installed()) return 0;
  const int rules = trap::ports_changed();
  const int limit = apply_packet_limit(g_dhcp_snooping.limit);
  return rules == 0 && limit == 0 ? 0 : -1;
}

int dhcp_snooping_statistics_clear(uint32_t intf) {
  const SnoopingLock lock;
  each_interface([intf](IntfNode& node) {
    if (intf == 0 || node.ifindex == intf) clear_counters(node);
  });
  if (intf == 0) clear_unlisted_counters();
  return 0;
}
