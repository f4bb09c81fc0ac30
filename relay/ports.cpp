#include "base/guard.h"
#include "base/port_list.h"
#include "relay/relay.h"

using dhcp::base::WriteGuard;

int dhcp_relay_add_port(uint32_t intf) {
  WriteGuard writer(dhcpr_cfg.port_users);
  if (dhcpr_cfg.port_list == nullptr) return -1;
  if (intf_order_list_search(dhcpr_cfg.port_list, intf) != nullptr) return 0;
  intf_order_node* node = dhcp::base::new_port_node(intf);
  if (node == nullptr) return -1;
  if (intf_order_list_add_node(dhcpr_cfg.port_list, node) != 0) {
    free(node);
    return -1;
  }
  ++dhcpr_cfg.port_count;
  return 0;
}

int dhcp_relay_del_port(uint32_t intf) {
  WriteGuard writer(dhcpr_cfg.port_users);
  if (dhcpr_cfg.port_list == nullptr) return -1;
  intf_order_node* node = intf_order_list_search(dhcpr_cfg.port_list, intf);
  if (node == nullptr) return 0;
  intf_order_list_del_node(dhcpr_cfg.port_list, node);
  free(node);
  --dhcpr_cfg.port_count;
  return 0;
}
