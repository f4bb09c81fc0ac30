/* The IPv4 relay's record and life. Addresses are host-order numbers. */
#ifndef DHCP_RELAY_H
#define DHCP_RELAY_H

#include "dhcp/types.h"

DHCP_BEGIN

enum { DHCPR_BUFFER_SIZE = 2048, DHCPR_IFNAME_SIZE = 16 };

enum DhcpRelayStatus { DHCPR_OFF = 0, DHCPR_ON = 1, DHCPR_ON_MANAGEMENT_VLAN = 2 };

/** The relay's one record. */
struct DhcpRelayConfig {
  dhcp_flag status;               /* DhcpRelayStatus */
  int32_t trust;                  /* 1 = keep a client's option 82, 0 = replace it */
  int32_t option82;               /* 1 = insert our own when the client sent none */
  uint8_t* send_buf;              /* 2048 bytes, or null before init and after stop */
  int32_t send_sock;              /* raw packet socket, -1 when closed */
  int32_t tag_mode;               /* 0 client's tag, 1 helper's VLAN, 2 route_vlan */
  uint16_t route_vlan;            /* of tag mode 2 */
  int32_t route_port;             /* out of which requests that are not routed leave */
  char ifname[DHCPR_IFNAME_SIZE]; /* the device's management interface */
  int32_t port_count;
  dhcp_word port_users;              /* readers of port_list; 255 = being changed */
  struct intf_order_list* port_list; /* where relayed broadcasts are flooded */
};

DHCP_API extern struct DhcpRelayConfig dhcpr_cfg;

DHCP_API void init_DHCPR_cfg(void);
DHCP_API void exit_DHCPR_cfg(void);
/** Adds or removes an interface of the flood list; harmless when it is there already, or not there. 0, or -1. */
DHCP_API int dhcp_relay_add_port(uint32_t intf);
DHCP_API int dhcp_relay_del_port(uint32_t intf);

/* The "dhcpc" ticker: once a second it lets the device look for changed addresses. */
DHCP_API int dhcpc_task_init(void);
DHCP_API int dhcpc_task_entry(struct ModuleTaskEntry* row);

DHCP_END

#endif
