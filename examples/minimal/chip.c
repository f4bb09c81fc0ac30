/* The rest of platform/adp.h, and platform/security.h: a chip without rules, whose only way to the CPU is
   example_receive(), and without the neighbours of DHCP. */
#include <string.h>

#include "device.h"
#include "platform/adp.h"
#include "platform/security.h"

int adp_fp_add_entity_action(struct adp_fp_entity* entity, int code, uint32_t value) {
  if (entity->actions == 4) return -1;
  entity->action[entity->actions].code = code;
  entity->action[entity->actions++].value = value;
  return 0;
}

int adp_fp_add_entity_qualify(struct adp_fp_entity* entity, int code, const void* data, const void* mask, int len) {
  if (entity->qualifiers == 4 || len < 0 || len > 32) return -1;
  entity->qualify[entity->qualifiers].code = code;
  entity->qualify[entity->qualifiers].len = len;
  memcpy(entity->qualify[entity->qualifiers].data, data, (size_t)len);
  memcpy(entity->qualify[entity->qualifiers++].mask, mask, (size_t)len);
  return 0;
}

int adp_fp_add_entity_rule(uint32_t group, uint32_t rule, const struct adp_fp_entity* entity) {
  (void)group, (void)rule, (void)entity;
  return 0;
}

int adp_fp_delete_entity_rule(uint32_t group, uint32_t rule) {
  (void)group, (void)rule;
  return 0;
}

int adp_get_max_phy_port_num(void) { return EXAMPLE_PORTS; }

int adp_get_intf_by_addr(const uint8_t mac[6], uint32_t vlan, uint32_t* intf) {
  (void)mac, (void)vlan, (void)intf;
  return -1; /* no address is known: answers are flooded */
}

int port_in_aggport(uint32_t port, uint32_t* group) {
  (void)port, (void)group;
  return -1;
}

int user_cosq_mapping_get(int protocol, int* cos) {
  (void)protocol, (void)cos;
  return -1;
}

int user_rx_cos_rate_set(int cos, int pps) {
  (void)cos, (void)pps;
  return -1;
}

uint8_t arpr_cfg[2128];

int ipsg_add_port(uint32_t intf) { return (void)intf, 0; }
int ipsg_del_port(uint32_t intf) { return (void)intf, 0; }
int ipsg_port_change_action(void) { return 0; }
int add_port_ipsg_entry(const struct ipsg_entry* entry) { return (void)entry, 0; }
int del_port_ipsg_entry(const struct ipsg_entry* entry) { return (void)entry, 0; }
int arp_add_entry_to_list(const struct arp_entry* entry) { return (void)entry, 0; }
int arp_del_entry_to_list(const struct arp_entry* entry) { return (void)entry, 0; }
int arp_get_check_port_status(uint32_t intf) { return (void)intf, 0; }

int sync_add_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int type) {
  (void)mac, (void)ip, (void)intf, (void)type;
  return 0;
}

int sync_del_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf) {
  (void)mac, (void)ip, (void)intf;
  return 0;
}

int sync_add_igsp_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int vlan, int lease) {
  (void)mac, (void)ip, (void)intf, (void)vlan, (void)lease;
  return 0;
}
