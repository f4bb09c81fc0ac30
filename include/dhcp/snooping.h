/* IPv4 snooping: who holds which address behind which port, and what may pass.

   Addresses, VLANs and interface words are host-order numbers, MACs six bytes as on the wire. VLAN 65535 is a frame
   without a tag. Unless said, functions return 0 on success and -1 on failure. Setters, displays, save and the
   whole-table calls take the snooping lock themselves; the table's own functions expect it to be held. */
#ifndef DHCP_SNOOPING_H
#define DHCP_SNOOPING_H

#include <stdio.h>

#include "dhcp/binding.h"

DHCP_BEGIN

enum { DHCP_SNOOP_STRING_SIZE = 64 /* 63 characters and the terminator */ };

/** A MAC that is exempt from the source-MAC check (any `mode` but 1), or named as one to be checked (`mode` 1). */
struct MacVerifyStruct {
  uint8_t mac[6];
  int32_t mode;
  struct MacVerifyStruct* next;
};

/** A server whose answers are believed; an empty list believes every server behind a trusted port. */
struct DhcpServerInfo {
  uint32_t ip;
  struct DhcpServerInfo* next;
};

/** A client: one entry a MAC. In the MAC index from its creation; in the (VLAN, address) index only while bound with
    a VLAN and an address. */
struct MacBindStruct {
  struct DhcpListHead mac_link; /* in a MAC bucket */
  struct DhcpListHead ip_link;  /* in a (VLAN, address) bucket; zero or poison when not there */
  uint8_t mac[6];
  uint32_t ip;   /* 0 = none */
  int32_t lease; /* seconds, from `time` on */
  int32_t vlan;
  int32_t new_vlan; /* where the client was last heard; takes effect at the next ACK */
  uint32_t intf;
  uint32_t new_intf;
  int32_t is_static;              /* 1 = configured */
  int32_t state;                  /* 0 = learning, 1 = bound */
  int32_t time;                   /* seconds since the epoch of the learning step or the last ACK */
  struct MacVerifyStruct* verify; /* of the same MAC, or null */
};

/** Option 82 settings of one VLAN (RFC 3046); sub-option 5 is link selection (RFC 3527). */
struct SUB_OPTION {
  struct DhcpListHead link;
  uint32_t vlan;
  uint32_t flags; /* 1 << 1 circuit id, 1 << 2 remote id, 1 << 5 address */
  uint32_t ip;
  uint8_t circuit_id;
  uint8_t remote_id;
  char circuit_string[DHCP_SNOOP_STRING_SIZE];
  char remote_string[DHCP_SNOOP_STRING_SIZE];
};

/** The service's one record. */
struct DhcpSnoopConfig {
  dhcp_int enable;
  uint8_t vlan_bitmap[DHCP_SNOOP_VLAN_BYTES]; /* VLAN v = bit (v mod 8) of byte (v div 8) */
  uint8_t dev_mac[6];
  int32_t dev_mac_valid;
  int32_t raw_socket; /* -1 = closed */
  int32_t limit;      /* packets per second to the CPU, 0 = no limit */
  int32_t verify_enable;
  int32_t verify_bucket_count[DHCP_SNOOP_BUCKETS];
  int32_t verify_count;
  struct MacVerifyStruct* verify_bucket[DHCP_SNOOP_BUCKETS];
  int32_t bind_count;
  struct DhcpSnoopIndex mac_index;
  struct DhcpSnoopIndex ip_index;
  int32_t server_count;
  struct DhcpServerInfo* server_list;
  int32_t allow_untrust_option82;
  int32_t option82_enable;
  int32_t sub_option_count;
  struct DhcpListHead sub_option_list;
  int32_t min_lease; /* shortest lease seen since start, 0 = none yet */
  int32_t writeflash_enable;
  int32_t writeflash_interval; /* seconds */
  dhcp_word intf_busy;
  int32_t intf_count;
  struct intf_order_list* intf_list; /* SnoopIntfEntry */
};

DHCP_API extern struct DhcpSnoopConfig g_dhcp_snooping;

/* Life and lock. */
DHCP_API int init_dhcp_snooping(void); /* -1 = no memory for the interfaces: not begun */
DHCP_API int exit_dhcp_snooping(void);
DHCP_API int dhcp_snooping_mutex_lock_func(void);
DHCP_API int dhcp_snooping_mutex_unlock_func(void);
DHCP_API int snoop_task_init(void);
DHCP_API int snoop_task_entry(struct ModuleTaskEntry* row);

/* The frame's door: -1 = consumed (dropped, or sent by snooping), 0 = goes on to relay and server. */
DHCP_API int dhcp_packet_snooping_process(struct skpack* skp);
DHCP_API int dhcp_snooping_send_packet(struct skpack* frame, uint32_t intf, int vlan);
DHCP_API int snoop_count_dropped(uint32_t intf, int type);
DHCP_API int dhcp_is_broadcast_ether_addr(const uint8_t* mac); /* 1 / 0 */

/* The binding table; the caller holds the lock. */
DHCP_API int get_mac_bind_entry_count(void);
DHCP_API struct MacBindStruct* find_MacBindStruct(const uint8_t* mac, int create);
DHCP_API void insert_MacBindStruct_list(struct DhcpListHead* head, struct MacBindStruct* entry);
DHCP_API void __del_MacBindStruct(struct MacBindStruct* entry);
DHCP_API int del_MacBindStruct(const uint8_t* mac, uint32_t intf);
DHCP_API void insert_VlanIp_list(struct DhcpListHead* head, struct MacBindStruct* entry);
DHCP_API void insert_VlanIp_table(struct MacBindStruct* entry);
DHCP_API struct MacBindStruct* find_VlanIp_entry(int vlan, uint32_t ip);
/** For the ARP module: takes the lock itself. The caller may only test the result for null. */
DHCP_API struct MacBindStruct* arp_find_VlanIp_entry(int vlan, uint32_t ip, const uint8_t* mac, uint32_t intf);
DHCP_API void del_VlanIp_table(struct MacBindStruct* entry);
DHCP_API struct MacVerifyStruct* find_MacVerifyStruct(const uint8_t* mac, int create);
DHCP_API int del_MacVerifyStruct(const uint8_t* mac);
DHCP_API void insert_MacVerifyStruct_list(struct MacVerifyStruct** head, struct MacVerifyStruct* entry);
DHCP_API struct DhcpServerInfo* find_DhcpServerInfo(uint32_t ip, int create);
DHCP_API void insert_DhcpServerInfo_list(struct DhcpServerInfo** head, struct DhcpServerInfo* entry);
DHCP_API int delete_DhcpServerInfo(uint32_t ip);
DHCP_API void delete_DhcpServerInfo_list(void);
DHCP_API int check_serverip_valid(uint32_t ip); /* 1 = believed */
DHCP_API void clear_mac_bind_list(int bucket);
DHCP_API void check_mac_bind_valid(void);
DHCP_API void timer_dhcp_snoop(void);
DHCP_API int get_timer_dhcp_snoop_action_type(int count);
DHCP_API char* dhcp_snooping_ip2ipstr(uint32_t ip); /* a buffer of the calling thread's */

/* Option 82; the caller holds the lock. */
DHCP_API int add_SUB_OPTION(int vlan, uint32_t ip, int id, const char* circuit_string, const char* remote_string,
                            int type);
DHCP_API int del_SUB_OPTION(int vlan, int type);
DHCP_API struct SUB_OPTION* find_SUB_OPTION(int vlan, int type);
DHCP_API struct SUB_OPTION* __find_SUB_OPTION(int vlan);
DHCP_API int fill_option82(uint8_t* dst, const uint8_t* mac, int vlan, uint32_t port, int module);
DHCP_API int __fill_option82(uint8_t* dst, const uint8_t* mac, int vlan, uint32_t port, int module);
/** A rewritten copy of the frame, or null. The caller frees `head` and the record with free(). */
DHCP_API struct skpack* option82_action(struct skpack* frame, int mode, int vlan, uint32_t port, int module);

/* Neighbours: one binding (lock held), and the whole table (these take the lock). */
DHCP_API int sync_add_ipsg_entry(struct MacBindStruct* bind);
DHCP_API int sync_del_ipsg_entry(struct MacBindStruct* bind);
DHCP_API int sync_add_arp_entry(struct MacBindStruct* bind);
DHCP_API int sync_del_arp_entry(struct MacBindStruct* bind);
DHCP_API int dhcp_snooping_snyc_adddel_arp_check_by_mac_node(int add);
DHCP_API int dhcp_snooping_snyc_del_arp_check(int intf); /* -1 = all */
DHCP_API int dhcp_snooping_snyc_add_to_arp_check(void);
DHCP_API int dhcp_snooping_snyc_add_to_igsp(void);

/* The binding file; for the first three the caller holds the lock. */
DHCP_API int write_dhcp_snoop_to_flash(void);
/** -1 = memory was short: what has come so far is there, nothing is written over the file, and the next call brings the
    rest. */
DHCP_API int read_dhcp_snoop_from_flash(void);
DHCP_API void cycle_write_bind_flash(void);
DHCP_API int set_dhcp_snoop_writeflash(int mode, int interval_s); /* takes the lock */
/** Puts the file elsewhere; to be called before the module starts. `temporary` is where a new one is put together.
    Null for both = the device's own places. -1 = a path is too long. */
DHCP_API int dhcp_snoop_set_database_path(const char* path, const char* temporary);

/* Clearing. `type` 0..16 says which of ip, mac, vlan and intf count; 17 and more do nothing. */
DHCP_API int dhcp_snooping_binding_clear(int type, uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf);
DHCP_API int dhcp_snooping_statistics_clear(uint32_t intf); /* 0 = every interface */
DHCP_API int dhcp_snoop_binds_clear_all(void);
DHCP_API int dhcp_snoop_binds_clear_ip(uint32_t ip);
DHCP_API int dhcp_snoop_binds_clear_ip_mac(uint32_t ip, const uint8_t* mac);
DHCP_API int dhcp_snoop_binds_clear_ip_mac_intf(uint32_t ip, const uint8_t* mac, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_ip_mac_vlan(uint32_t ip, const uint8_t* mac, int vlan);
DHCP_API int dhcp_snoop_binds_clear_ip_mac_vlan_intf(uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_ip_intf(uint32_t ip, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_ip_vlan(uint32_t ip, int vlan);
DHCP_API int dhcp_snoop_binds_clear_ip_vlan_intf(uint32_t ip, int vlan, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_mac(const uint8_t* mac);
DHCP_API int dhcp_snoop_binds_clear_mac_intf(const uint8_t* mac, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_mac_vlan(const uint8_t* mac, int vlan);
DHCP_API int dhcp_snoop_binds_clear_mac_vlan_intf(const uint8_t* mac, int vlan, uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_intf(uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_dynamic_intf(uint32_t intf);
DHCP_API int dhcp_snoop_binds_clear_vlan(int vlan);
DHCP_API int dhcp_snoop_binds_clear_vlan_intf(int vlan, uint32_t intf);

/* Ports; the caller holds the lock. */
DHCP_API int dhcp_snooping_add_port(uint32_t intf);
DHCP_API int dhcp_port_change_action(void);

/* Configuration. -90 = that VLAN does not exist. */
DHCP_API int set_dhcp_snoop_switch(int on);
DHCP_API int get_dhcp_snoop_switch(int* out); /* takes no lock */
DHCP_API int set_dhcp_snoop_vlan(int add, int vlan);
DHCP_API int set_dhcp_snoop_trust(int trust, uint32_t intf);
DHCP_API int set_dhcp_snoop_suppression(int open, uint32_t intf);
DHCP_API int set_dhcp_snoop_limit(int pps);
DHCP_API int set_dhcp_snoop_serverip(int add, uint32_t ip);
DHCP_API int set_dhcp_snoop_verify(int on);
DHCP_API int set_dhcp_snoop_verify_mac(int add, const uint8_t* mac, int mode);
DHCP_API int set_dhcp_snoop_bind(int add, const uint8_t* mac, uint32_t ip, uint32_t intf, int vlan, int lease_s);
DHCP_API int set_dhcp_snoop_option82_circuit_id(int add, int vlan, int id, const char* string);
DHCP_API int set_dhcp_snoop_option82_remote_id(int add, int vlan, int id, const char* string);
DHCP_API int set_dhcp_snoop_option82_ip(int add, int vlan, uint32_t ip);
DHCP_API int set_dhcp_snoop_option82_switch(int on);
DHCP_API int set_dhcp_snoop_untrust_option82_switch(int trust);
DHCP_API int get_option82_default_remoteid(uint8_t* mac); /* the caller holds the lock */

/* Display: the path's length + 1, or -1 when the file cannot be opened. */
DHCP_API int show_dhcp_snoop_conf(char* path, int a, int b);
DHCP_API int show_dhcp_snoop_bind(char* path, int a, int b);
DHCP_API int show_dhcp_snoop_option82_circuit_id(char* path, int a, int b);
DHCP_API int show_dhcp_snoop_option82_remote_id(char* path, int a, int b);
DHCP_API int show_dhcp_snoop_option82_ip(char* path, int a, int b);
DHCP_API int onu_dhcp_snoop_save(FILE* stream);

/** Frames since the last clear: `count[verdict][type]`; type 0 = frames without one of the eight types. */
struct DhcpSnoopCounters {
  uint32_t count[DHCP_SNOOP_VERDICTS][9];
};

/** The last server message that came in on an untrusted port; `time` 0 = none seen. */
struct DhcpSnoopRogue {
  uint32_t time;
  uint32_t ip;
  uint8_t mac[6];
  uint16_t vlan;
  uint32_t intf;
  uint32_t seen; /* messages since start */
};

/** A binding as a value, for displays. */
struct DhcpSnoopBinding {
  uint8_t mac[6];
  uint32_t ip;
  uint32_t intf;
  int32_t vlan;
  int32_t lease;
  int32_t age; /* seconds since it was learnt, or since the last ACK */
  int32_t is_static;
  int32_t state;
};

/** Copies the first `room` bindings, by MAC bucket. Returns how many there are, which may be more. Takes the lock. */
DHCP_API int dhcp_snoop_get_bindings(struct DhcpSnoopBinding* out, int room);

/** Copies the first `room` interfaces, ascending, without their links. Returns how many there are. Takes the lock. */
DHCP_API int dhcp_snoop_get_interfaces(struct SnoopIntfEntry* out, int room);

/** Copies the counters of an interface; 0 = frames of no listed interface. -1 when there is no such interface. Takes
    the lock, like the next two. */
DHCP_API int dhcp_snoop_get_counters(uint32_t intf, struct DhcpSnoopCounters* out);
DHCP_API int dhcp_snoop_get_rogue(struct DhcpSnoopRogue* out);
DHCP_API int dhcp_snoop_get_database(struct DhcpSnoopDatabase* out);

DHCP_END

#endif
