/* The switching chip: frames, field-processor rules, ports and CPU queues. */
#ifndef DHCP_PLATFORM_ADP_H
#define DHCP_PLATFORM_ADP_H

#include <stdint.h>

#include "platform/decls.h"
#include "platform/intf_list.h"

PLATFORM_BEGIN

/** The frame buffer (13 words where a pointer is four bytes). Received: head == data, room for 1600 bytes. */
struct skpack {
  int32_t users;
  uint32_t w1;
  uint8_t* head;     /* start of the frame's storage */
  uint32_t psize;    /* length of the frame in bytes */
  uint8_t* data;     /* the Ethernet header */
  uint8_t* ip_hdr;   /* the IPv4 header, or null */
  uint8_t* ud_hdr;   /* the UDP header, or null */
  uint8_t* ip6_hdr;  /* the IPv6 header, or null */
  uint8_t* vlan_tag; /* the 4-byte 802.1Q tag, or null */
  uint8_t* upper;    /* the upper-layer header */
  uint32_t in_intf;  /* ingress interface word */
  uint32_t w11;
  uint8_t bcm_tag[4]; /* switch tag to the CPU, see packet/dump.h */
};

/** Readies a received frame: fills the header pointers. Negative = unusable. */
int __adp_receive_frame(struct skpack* skp, int flag);

/** Sends a copy of the frame; reads data, psize and in_intf only. The tag inside the frame decides the tagging.
    mode 0 = all listed members of `vlan` but in_intf (null list = all ports), 2 = the listed interface,
    4 = the listed interface as a forwarded frame; vlan 65535 = untagged. Never calls back into the module. */
int __adp_transmit_frame(struct skpack* skp, struct intf_order_list* ports, uint32_t vlan, int mode);

void skpack_release(struct skpack* skp);

/** A field-processor rule being put together: qualifiers say what matches, actions what is done. */
struct adp_fp_entity {
  int actions;
  struct {
    int code;
    uint32_t value;
  } action[4];
  int qualifiers;
  struct {
    int code, len;
    uint8_t data[32], mask[32];
  } qualify[4];
};

/* Qualifier codes: 13 = ingress port bitmap (8 host-order words), 28 = UDP destination port (host-order uint16).
   Action codes: 30 = redirect to the CPU, 2 = CPU queue, 40 = drop. Of a group's rules the highest that matches
   decides. */
int adp_fp_add_entity_action(struct adp_fp_entity* entity, int code, uint32_t value);
int adp_fp_add_entity_qualify(struct adp_fp_entity* entity, int code, const void* data, const void* mask, int len);
/** Installs the rule, replacing one that is there. */
int adp_fp_add_entity_rule(uint32_t group, uint32_t rule, const struct adp_fp_entity* entity);
int adp_fp_delete_entity_rule(uint32_t group, uint32_t rule); /* absent: negative, harmless */

int adp_get_max_phy_port_num(void);
int adp_get_intf_by_addr(const uint8_t mac[6], uint32_t vlan, uint32_t* intf); /* 0 = known */
int port_in_aggport(uint32_t port, uint32_t* group);                           /* 0 = member, *group > 0 */
int user_cosq_mapping_get(int protocol, int* cos);                             /* protocol 1 = DHCP */
int user_rx_cos_rate_set(int cos, int pps);                                    /* 0 = unlimited */

PLATFORM_END

#endif
