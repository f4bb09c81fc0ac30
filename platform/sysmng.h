/* The device's management data: VLANs, VLAN interfaces, addresses. IPv4 addresses are host-order numbers. */
#ifndef DHCP_PLATFORM_SYSMNG_H
#define DHCP_PLATFORM_SYSMNG_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

struct sysmng_vlan_list {
  uint32_t count;
  uint16_t vid[4094];
};

/** A VLAN interface's layer-3 data; 0 or "" = not configured. */
struct sysmng_vlan_info {
  uint32_t vlan, ip, mask, gateway;
  uint8_t prefix6;
  char ip6[64], gateway6[64];
};

int sysmng_vlan_get(int kind, struct sysmng_vlan_list* out);           /* kind 2 = layer-3 VLANs, in id order */
int sysmng_vlan_info_get(uint32_t vlan, struct sysmng_vlan_info* out); /* less than 1 = no layer-3 information */
int sysmng_vlan_is_mng_vlan(uint32_t vlan);                            /* 1 / 0 */
int sysmng_get_vlan_by_ipaddr(uint32_t ip);                            /* VLAN id, 0 = not one of ours */
int sysmng_get_vlan_by_ip6addr(const uint8_t ip6[16]);                 /* VLAN id, 0 = not one of ours */
/** Sets (on 1) or removes (null text, on 0) the VLAN's configured IPv6 address. Never calls back into the module. */
int sysmng_vlan_static_ip6addr(uint32_t vlan, const char* addr_slash_len, int on);
int sysmng_get_mac(char text[18]); /* "00:11:22:33:44:55" */
int get_dev_mac(const char* ifname, uint8_t mac[6]);
int get_vlan_valid(uint32_t vlan, int kind); /* 0 = valid; kind 2 = must exist */
int get_mac_aging_time(uint32_t* seconds);
/** Looks whether the address of a dynamically addressed interface has changed. */
int probe_dynamic_get_ip_dev_change(void);

PLATFORM_END

#endif
