/* DHCPv6 snooping: who holds which IPv6 address behind which port, and what may pass.

   IPv6 addresses are sixteen bytes and MACs six bytes as on the wire; VLANs and interface words are host-order numbers,
   VLAN 65535 is a frame without a tag. Every function takes the service's own lock, which nobody else sees; a record
   that is handed out is good only until the next frame or timer round. Unless said, functions return 0 on success and
   -1 on failure. */
#ifndef DHCP_SNOOPING6_H
#define DHCP_SNOOPING6_H

#include <stdio.h>

#include "dhcp/binding.h"

DHCP_BEGIN

/** A server whose answers are believed; an empty list believes every server behind a trusted port. */
struct Dhcp6ServerInfo {
  uint8_t ip6[16];
  struct Dhcp6ServerInfo* next;
};

/** A client: one entry a MAC. In the MAC index from its creation; in the (VLAN, address) index from the first REPLY
    on, unless another client was there before with the same VLAN and address. */
struct MacBind6Struct {
  struct DhcpListHead mac_link; /* in a MAC bucket */
  struct DhcpListHead ip_link;  /* in a (VLAN, address) bucket; zero or poison when not there */
  uint8_t mac[6];               /* the Ethernet source of its requests */
  uint8_t ip6[16];              /* all zero = none */
  int32_t lease;                /* valid lifetime in seconds, from `time` on; an endless one is -1 */
  int32_t vlan;
  int32_t new_vlan; /* where the client was last heard; takes effect at the next REPLY */
  uint32_t intf;
  uint32_t new_intf;
  int32_t is_static; /* 1 = configured */
  int32_t state;     /* 0 = learning, 1 = bound */
  int32_t time;      /* seconds since the epoch of the learning step or the last REPLY */
  int32_t hold;      /* non-zero = never aged while bound; nothing sets it */
};

/** The service's one record. */
struct Dhcp6SnoopConfig {
  dhcp_int enable;
  uint8_t vlan_bitmap[DHCP_SNOOP_VLAN_BYTES]; /* VLAN v = bit (v mod 8) of byte (v div 8) */
  int32_t bind_count;
  struct DhcpSnoopIndex mac_index;
  struct DhcpSnoopIndex ip_index;
  int32_t server_count;
  struct Dhcp6ServerInfo* server_list; /* newest first */
  int32_t min_lease;                   /* shortest lease seen since start, 0 = none yet */
  int32_t writeflash_enable;
  int32_t writeflash_interval; /* seconds */
  dhcp_word intf_busy;
  int32_t intf_count;
  struct intf_order_list* intf_list; /* SnoopIntfEntry, one a physical port; their two counters stay 0 */
};

DHCP_API extern struct Dhcp6SnoopConfig g_dhcp6_snooping;

/* Life. The "snoop" task of IPv4 snooping begins it when the host has not. */
DHCP_API int init_dhcp6_snooping(void); /* -1 = no memory for the interfaces: not begun */
DHCP_API int exit_dhcp6_snooping(void);

/* The frame's door: -1 = finished (dropped, or sent by snooping), 0 = goes on to relay and server. */
DHCP_API int dhcp6_packet_snooping_process(struct skpack* skp);
DHCP_API int dhcp6_snooping_send_packet(struct skpack* frame, uint32_t in_intf, int vlan);

/* The binding table. */
DHCP_API struct MacBind6Struct* find_MacBind6Struct(const uint8_t* mac, int create);
DHCP_API void __del_MacBind6Struct(struct MacBind6Struct* entry);
DHCP_API int del_MacBind6Struct(const uint8_t* mac);
DHCP_API void insert_VlanIp6_table(struct MacBind6Struct* entry);
DHCP_API void del_VlanIp6_table(struct MacBind6Struct* entry);
DHCP_API struct MacBind6Struct* find_VlanIp6_entry(int vlan, const uint8_t* ip6);
DHCP_API struct Dhcp6ServerInfo* find_Dhcp6ServerInfo(const uint8_t* ip6, int create);
DHCP_API int delete_Dhcp6ServerInfo(const uint8_t* ip6);
DHCP_API int check_dhcp6_serverip_valid(const uint8_t* ip6); /* 1 = believed */
DHCP_API void clear_mac_bind6_list(int bucket);
DHCP_API void check_mac_bind6_valid(void);
DHCP_API void timer_dhcp6_snoop(void);

/* The binding file. */
DHCP_API int write_dhcp6_snoop_to_flash(void);
/** The file is gone afterwards. -1 = memory was short: what has come so far is there, the file stays as it is, and the
    next call brings the rest. */
DHCP_API int read_dhcp6_snoop_from_flash(void);
DHCP_API void cycle_write_dhcp6_bind_flash(void);
/** `mode` 1 = every `interval_s` seconds, 0 = no more, and the file goes, 2 = now; others do nothing. */
DHCP_API int set_dhcp6_snoop_writeflash(int mode, int interval_s);
/** Puts the file elsewhere; to be called before the module starts. `temporary` is where a new one is put together.
    Null for both = the device's own places. -1 = a path is too long. */
DHCP_API int dhcp6_snoop_set_database_path(const char* path, const char* temporary);

/* Clearing. `type` 0..16 says which of ip6, mac, vlan and intf count, as for IPv4; 17 and more do nothing. A criterion
   that does not count may be null or anything. */
DHCP_API int dhcp6_snooping_binding_clear(int type, const uint8_t* ip6, const uint8_t* mac, int vlan, uint32_t intf);
/** Deletes the bindings that match all criteria given; null = any. `dynamic_only` keeps static ones. */
DHCP_API int dhcp6_snooping_binding_clear_action(const uint8_t* mac, const int* vlan, const uint32_t* intf,
                                                 const uint8_t* ip6, int dynamic_only);
DHCP_API int dhcp6_snooping_statistics_clear(uint32_t intf); /* 0 = every interface */

/* Configuration. An interface that does not exist is only logged. -90 = that VLAN does not exist, or for a static
   binding that interface. */
DHCP_API int set_dhcp6_snoop_switch(int on);
DHCP_API int get_dhcp6_snoop_switch(int* out); /* takes no lock */
DHCP_API int set_dhcp6_snoop_vlan(int add, int vlan);
DHCP_API int set_dhcp6_snoop_trust(int trust, uint32_t intf);
DHCP_API int set_dhcp6_snoop_trust_rule(void); /* tells the chip anew which ports are untrusted */
DHCP_API int set_dhcp6_snoop_suppression(int open, uint32_t intf);
DHCP_API int set_dhcp6_snoop_serverip(int add, const uint8_t* ip6);
DHCP_API int set_dhcp6_snoop_bind(int add, const uint8_t* mac, uint32_t intf, int vlan, int lease_s);

/* Display: the path's length + 1, or -1 when the file cannot be opened. The first writes to the path as it stands, the
   second asks the device for one. */
DHCP_API int show_dhcp6_snoop_conf(const char* path);
DHCP_API int show_dhcp6_snoop_bind(char* path, int a, int b);
DHCP_API int onu_dhcp6_snoop_save(FILE* stream);

/** Frames since the last clear: `count[verdict][type]`; the verdicts are enum DhcpSnoopVerdict, type 0 = frames with
    none of the thirteen message types. */
struct Dhcp6SnoopCounters {
  uint32_t count[DHCP_SNOOP_VERDICTS][14];
};

/** A binding as a value, for displays and source guards. */
struct Dhcp6SnoopBinding {
  uint8_t mac[6];
  uint8_t ip6[16];
  uint32_t intf;
  int32_t vlan;
  int32_t lease;
  int32_t age; /* seconds since it was learnt, or since the last REPLY */
  int32_t is_static;
  int32_t state;
};

/** Copies the first `room` bindings, by MAC bucket. Returns how many there are, which may be more. */
DHCP_API int dhcp6_snoop_get_bindings(struct Dhcp6SnoopBinding* out, int room);
/** Copies the first `room` interfaces, ascending, without their links. Returns how many there are. */
DHCP_API int dhcp6_snoop_get_interfaces(struct SnoopIntfEntry* out, int room);
/** Copies the counters of an interface; 0 = frames of no listed interface. -1 when there is no such interface. */
DHCP_API int dhcp6_snoop_get_counters(uint32_t intf, struct Dhcp6SnoopCounters* out);
DHCP_API int dhcp6_snoop_get_database(struct DhcpSnoopDatabase* out);

DHCP_END

#endif
