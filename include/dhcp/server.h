/* The IPv4 server: its records, configuration, display and save.

   Addresses and masks are host-order numbers. Unless said, functions return 0 on success, -1 on failure, -2 when a
   limit is reached. Configuration, display, save and clear take the server lock themselves; lookups do not. */
#ifndef DHCP_SERVER_H
#define DHCP_SERVER_H

#include <stdio.h>

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCPS_MAX_POOLS = 10,
  DHCPS_MAX_BINDINGS = 500,
  DHCPS_MAX_CONFLICTS = 1000, /* the oldest makes room */
  DHCPS_MAX_HOSTS = 10,       /* a pool */
  DHCPS_OPTION_VALUE_SIZE = 312,
  DHCPS_CLIENT_ID_SIZE = 32,
  DHCPS_DOMAIN_NAME_SIZE = 255, /* characters */
  DHCPS_SERVER_NAME_SIZE = 64,
  DHCPS_BOOT_FILE_SIZE = 128
};

/** A list inside a pool, guarded by the pools' word. */
struct DhcpPoolList {
  int32_t count;
  struct DhcpListHead head;
};

/** The server's one record. */
struct DhcpServerConfig {
  dhcp_flag enable;                /* set only by dhcp_server_start_stop() */
  dhcp_int sock;                   /* UDP port 67, -1 when closed */
  struct DhcpServerList pools;     /* DhcpPool, at most 10 */
  struct DhcpServerList bindings;  /* DhcpBinding, at most 500 */
  struct DhcpServerList conflicts; /* DhcpConflictIp */
  struct DhcpServerList excludes;  /* DhcpExcludeRange, for all pools */
  int32_t port_count;
  dhcp_word port_users;          /* senders on `ports`; 255 = being changed */
  struct intf_order_list* ports; /* where broadcast replies go out */
};

struct DhcpPool {
  struct DhcpListHead link;
  uint32_t pool_id;
  uint32_t network, netmask; /* both 0 = no network: matches nothing */
  uint32_t start_ip, end_ip; /* first and last address to hand out */
  uint32_t lease;            /* seconds; 0xFFFFFFFF = infinite; 0 until set */
  char* domain_name;         /* null, or 256 bytes */
  char* server_name;         /* null, or 65 bytes */
  char* boot_file;           /* null, or 129 bytes */
  uint16_t boot_file_size;   /* 512-octet blocks (RFC 2132 section 3.15); 0 suppresses the option */
  int32_t binding_count;
  struct DhcpPoolList options;     /* DhcpPoolOption */
  struct DhcpPoolList hosts;       /* DhcpStaticHost, at most 10 */
  struct DhcpPoolList routers;     /* DhcpIpNode */
  struct DhcpPoolList dns_servers; /* DhcpIpNode */
};

enum DhcpOptionType { DHCPS_OPTION_HEX = 2, DHCPS_OPTION_IP = 3 }; /* any other value is text */

struct DhcpPoolOption {
  struct DhcpListHead link;
  uint8_t code;
  uint8_t len; /* value bytes that are sent */
  uint8_t value[DHCPS_OPTION_VALUE_SIZE];
  uint8_t spare;
  uint8_t type; /* DhcpOptionType */
};

struct DhcpStaticHost {
  struct DhcpListHead link;
  uint8_t mac[6];
  uint32_t ip;
};

struct DhcpIpNode {
  struct DhcpListHead link;
  uint32_t ip;
};

struct DhcpExcludeRange {
  struct DhcpListHead link;
  uint32_t start_ip, end_ip;
};

struct DhcpConflictIp {
  struct DhcpListHead link;
  uint32_t ip;
  uint32_t time; /* seconds since the epoch of the last report */
};

enum DhcpBindingState { DHCPS_OFFERED = 1, DHCPS_ACKNOWLEDGED = 2 };

struct DhcpBinding {
  struct DhcpListHead link;
  uint8_t client_id[DHCPS_CLIENT_ID_SIZE]; /* zero padded */
  uint8_t id_type;                         /* first byte of option 61, or htype */
  uint8_t id_len;
  uint32_t ip;
  uint32_t expire; /* seconds since the epoch; 0xFFFFFFFF = never */
  uint32_t pool_id;
  uint32_t xid; /* of the DISCOVER that made it */
  uint8_t state;
};

DHCP_API extern struct DhcpServerConfig dhcps_cfg;

/* Life. */

/** Switches the server off, frees what it holds and begins anew: no pools, all ports in `ports`, the lock free. */
DHCP_API void init_DHCPS_cfg(void);
/** The low 8 bits count; the same value again does nothing. -1 while the IPv4 relay is on. Takes no lock. */
DHCP_API int dhcp_server_start_stop(int enable);
/** Holds UDP port 67. A socket that cannot be bound stays open until it is closed here. */
DHCP_API int dhcp_server_open_socket(void);
DHCP_API void dhcp_server_close_socket(void);
/** The server lock; it exists from the moment the library is loaded. */
DHCP_API int dhcp_server_mutex_lock_func(void);
DHCP_API int dhcp_server_mutex_unlock_func(void);
DHCP_API int dhcps_task_init(void);
DHCP_API int dhcps_task_entry(struct ModuleTaskEntry* row);

/* Configuration. An unknown pool is -1 and changes nothing, unless said. */

/** A pool that is there stays as it is: 0. -2 at ten pools. */
DHCP_API int dhcp_server_create_pool_entry(uint32_t pool_id);
/** With its bindings. An unknown pool is 0. */
DHCP_API int dhcp_server_del_pool_entry(uint32_t pool_id);
/** Bindings outside a narrowed range end; the lease becomes a day if there was none. -1 when some pool has `network`
    and the newest pool with `netmask` is another one. */
DHCP_API int dhcp_server_set_pool_network(uint32_t pool_id, uint32_t network, uint32_t netmask, uint32_t start_ip,
                                          uint32_t end_ip);
/** With the pool's bindings and its lease. */
DHCP_API int dhcp_server_del_pool_network(uint32_t pool_id);
/** 0xFFFFFFFF = infinite. Leases already given keep their end. */
DHCP_API int dhcp_server_set_pool_lease(uint32_t pool_id, uint32_t seconds);
/** `value` always points at 312 bytes; `len` of them are sent. */
DHCP_API int dhcp_server_set_pool_option(uint32_t pool_id, uint8_t code, uint8_t len, const uint8_t* value,
                                         uint8_t type);
DHCP_API int dhcp_server_del_pool_option(uint32_t pool_id, uint8_t code);
/** Any two addresses; bindings stay. A pair that is there: 0. */
DHCP_API int dhcp_server_set_exclude_ip(uint32_t start_ip, uint32_t end_ip);
DHCP_API int dhcp_server_del_exclude_ip(uint32_t start_ip, uint32_t end_ip);
/** A known MAC moves to the new address. -2 at ten hosts, a known MAC too; -1 outside the pool's range or when another
    host has the address. A host whose address is excluded is neither found nor deleted. */
DHCP_API int dhcp_server_set_static_host(uint32_t pool_id, const uint8_t mac[6], uint32_t ip);
DHCP_API int dhcp_server_del_static_host(uint32_t pool_id, const uint8_t mac[6]);
/** Replaces the list, in the array's order. Walked from the last address; at the first one outside the pool's subnet it
    ends with -2 and what stood behind that address is kept. */
DHCP_API int dhcp_server_set_router(uint32_t pool_id, const uint32_t* ips, int count);
DHCP_API int dhcp_server_del_router(uint32_t pool_id);
/** Replaces the list, in the array's order; any addresses. */
DHCP_API int dhcp_server_set_dns_srv(uint32_t pool_id, const uint32_t* ips, int count);
DHCP_API int dhcp_server_del_dns_srv(uint32_t pool_id);
/** Names are cut to the lengths above. */
DHCP_API int dhcp_server_set_tftp_server(uint32_t pool_id, const char* name);
DHCP_API int dhcp_server_del_tftp_server(uint32_t pool_id);
DHCP_API int dhcp_server_set_boot_file_name(uint32_t pool_id, const char* name);
DHCP_API int dhcp_server_del_boot_file_name(uint32_t pool_id);
DHCP_API int dhcp_server_set_boot_file_size(uint32_t pool_id, int size); /* low 16 bits */
DHCP_API int dhcp_server_set_domain_name(uint32_t pool_id, const char* name);
DHCP_API int dhcp_server_del_domain_name(uint32_t pool_id);

/* Lookups; the caller holds the lock. Null = none. */
DHCP_API struct DhcpPool* dhcp_get_pool_by_id(uint32_t pool_id);
DHCP_API struct DhcpPool* dhcp_get_pool_by_network(uint32_t network);
DHCP_API struct DhcpPool* dhcp_get_pool_by_netmask(uint32_t netmask);
DHCP_API struct DhcpPool* dhcp_get_pool_by_router(uint32_t router, uint32_t pool_id);
DHCP_API struct DhcpPool* dhcp_get_pool_entry(struct skpack* skp);
DHCP_API struct DhcpPoolOption* dhcp_get_pool_option(struct DhcpListHead* options, int code);
DHCP_API struct DhcpExcludeRange* dhcp_get_exclude_ip(struct DhcpListHead* excludes, uint32_t start_ip,
                                                      uint32_t end_ip);
DHCP_API struct DhcpConflictIp* dhcp_get_conflict_ip(struct DhcpListHead* conflicts, uint32_t ip);
DHCP_API struct DhcpStaticHost* dhcp_get_static_host(struct DhcpPool* pool, const uint8_t mac[6]);
DHCP_API struct DhcpStaticHost* dhcp_get_static_host_by_ip(struct DhcpPool* pool, uint32_t ip);

/* Addresses, bindings, conflicts; the caller holds the lock. */
DHCP_API int dhcp_get_nic_addr(int vid, uint32_t* ip_out, uint8_t* mac_out); /* address in host order */
DHCP_API uint32_t dhcp_select_ip_addr(struct DhcpPool* pool, struct DhcpStaticHost* host, uint32_t requested);
DHCP_API struct DhcpBinding* dhcp_add_binding(struct skpack* skp, struct DhcpPool* pool, uint32_t ip);
DHCP_API struct DhcpBinding* dhcp_get_binding(struct skpack* skp, uint32_t pool_id, uint32_t ip);
DHCP_API int dhcp_delete_binding(struct DhcpBinding* binding, struct DhcpPool* pool);
DHCP_API int dhcp_delete_pool_ref_binding(struct DhcpPool* pool);
DHCP_API int dhcp_delete_out_range_binding(struct DhcpPool* pool);
DHCP_API int dhcp_add_conflict_ip(uint32_t ip);
DHCP_API void dhcps_binding_expire_timeout(void);
DHCP_API void dhcps_conflict_expire_timeout(void);

/* Messages. */
DHCP_API int dhcp_server_packet_process(struct skpack* skp); /* 0 handled, -1 ignored */
DHCP_API uint8_t* dhcp_get_option(struct skpack* skp, int code, int* len_out);
DHCP_API int dhcp_add_option(uint8_t* msg, int options_len, int code, int len, const void* value);
DHCP_API int dhcp_init_packet(uint8_t* reply, const uint8_t* request, int vid, int type);
DHCP_API int dhcp_add_param_list_option(struct DhcpPool* pool, uint8_t* reply, int options_len, struct skpack* skp);
DHCP_API int dhcp_send_offer(struct skpack* skp, struct DhcpPool* pool, uint32_t ip);
DHCP_API int dhcp_send_ack(struct skpack* skp, struct DhcpPool* pool, uint32_t ip);
DHCP_API int dhcp_send_nack(struct skpack* skp);
DHCP_API int dhcp_send_packet(int vid, uint8_t* buf, int options_len, int force_broadcast, struct skpack* request);

/* Display: each writes a text file whose name get_tmp_file_name(0, path, a, b) gives, and returns the length of the
   path + 1, or -1 when the file cannot be opened. */
DHCP_API int show_dhcp_server_conf(char* path, int a, int b);
DHCP_API int show_dhcp_server_conf_pool(char* path, int pool_id, int b);
DHCP_API int show_dhcp_server_binding(char* path, int a, int b);
DHCP_API int show_dhcp_server_conflict(char* path, int a, int b);
DHCP_API int show_dhcp_server_exclude(char* path, int a, int b);
DHCP_API int show_dhcp_server_host(char* path, int a, int b);

/** Appends the configuration as command lines ended by CR LF, newest first. 0. */
DHCP_API int onu_dhcp_server_save(FILE* stream);
DHCP_API int dhcp_server_clear_binding(uint32_t ip);  /* 0 = all */
DHCP_API int dhcp_server_clear_conflict(uint32_t ip); /* 0 = all */

/** What became of a message; counted in dhcp/counters.h. */
enum DhcpServerVerdict {
  DHCPS_VERDICT_OFFERED,
  DHCPS_VERDICT_ACKNOWLEDGED,
  DHCPS_VERDICT_REFUSED, /* a NAK: the client has no such offer or lease */
  DHCPS_VERDICT_RELEASED,
  DHCPS_VERDICT_DECLINED,  /* the address is kept back */
  DHCPS_VERDICT_MALFORMED, /* headers outside the frame */
  DHCPS_VERDICT_UNTAGGED,
  DHCPS_VERDICT_NO_POOL, /* nobody serves that network; a broadcast goes on to the other ports */
  DHCPS_VERDICT_NO_MESSAGE_TYPE,
  DHCPS_VERDICT_OTHER_SERVER,    /* names another server */
  DHCPS_VERDICT_NO_FREE_ADDRESS, /* the pool has none left */
  DHCPS_VERDICT_TABLE_FULL,      /* no room for the binding */
  DHCPS_VERDICT_NO_SERVER_ID,    /* a RELEASE or DECLINE to nobody in particular */
  DHCPS_VERDICT_NO_ADDRESS,      /* a REQUEST or DECLINE that names none */
  DHCPS_VERDICT_NOT_LEASABLE,    /* a REQUEST for a conflict, an excluded address or a static host's */
  DHCPS_VERDICT_UNKNOWN_CLIENT,  /* a renewal of what is not bound, left unanswered */
  DHCPS_VERDICT_OTHER_TYPE,      /* a server's message */
  DHCPS_VERDICT_NOT_SENT,        /* the options do not fit */
  DHCPS_VERDICTS
};
DHCP_API const char* dhcp_server_verdict_name(int verdict); /* lower-case words; never null */

DHCP_END

#endif
