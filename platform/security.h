/* The device's neighbours of DHCP: IP source guard, ARP checking, IGMP snooping. IPv4 addresses are host-order
   numbers, MACs six bytes as on the wire, leases seconds. None of these calls comes back into the module. */
#ifndef DHCP_PLATFORM_SECURITY_H
#define DHCP_PLATFORM_SECURITY_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

struct ipsg_entry {
  uint32_t ip;
  uint8_t mac[6];
  uint16_t vlan;
  uint32_t intf;
  int32_t lease;
};

struct arp_entry {
  uint32_t ip;
  uint8_t mac[6];
  uint8_t type; /* 2 = from DHCP snooping */
  uint8_t pad;
  uint32_t intf;
  int32_t lease;
};

int ipsg_add_port(uint32_t intf);
int ipsg_del_port(uint32_t intf);
int ipsg_port_change_action(void);
int add_port_ipsg_entry(const struct ipsg_entry* entry); /* -144 = source guard is not configured on the port */
int del_port_ipsg_entry(const struct ipsg_entry* entry);
int arp_add_entry_to_list(const struct arp_entry* entry);
int arp_del_entry_to_list(const struct arp_entry* entry);
int sync_add_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int type);
int sync_del_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf);
int sync_add_igsp_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int vlan, int lease);
int arp_get_check_port_status(uint32_t intf); /* 0 = off */

/** The ARP module's record, at least 2126 bytes: bytes 1 and 2125 are switches, a native word stands at 2104. */
extern uint8_t arpr_cfg[];

PLATFORM_END

#endif
