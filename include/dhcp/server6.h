/* The DHCPv6 server: its records, configuration, display and save (RFC 8415).

   IPv6 addresses are sixteen bytes as on the wire, lifetimes seconds, times seconds since the epoch. Unless said,
   functions return 0 on success, -1 on failure, -2 when a limit is reached, and change nothing when they fail.
   Configuration, display, save, clear and readouts take the lists' words themselves; lookups and messages' parts expect
   the pools' word to be held. */
#ifndef DHCP_SERVER6_H
#define DHCP_SERVER6_H

#include <stdio.h>

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCP6S_MAX_POOLS = 10,
  DHCP6S_MAX_BINDINGS = 500,
  DHCP6S_MAX_CONFLICTS = 1000, /* the oldest makes room */
  DHCP6S_MAX_HOSTS = 10,       /* a pool, like the four below */
  DHCP6S_MAX_EXCLUDES = 10,
  DHCP6S_MAX_DNS_SERVERS = 3,
  DHCP6S_MAX_DOMAIN_NAMES = 3,
  DHCP6S_DOMAIN_NAME_SIZE = 253, /* characters */
  DHCP6S_CLIENT_ID_SIZE = 128,   /* what counts of a longer one */
  DHCP6S_DUID_SIZE = 14,
  DHCP6S_ADDRESS_SIZE = 16
};

/** The server's one record. */
struct Dhcp6ServerConfig {
  dhcp_flag enabled;               /* set only by dhcp6_server_start_stop() */
  uint8_t duid[DHCP6S_DUID_SIZE];  /* DUID-LLT (RFC 8415 section 11.2), its time counted from 1970; zero until built */
  struct DhcpServerList pools;     /* Dhcp6Pool, at most 10 */
  struct DhcpServerList bindings;  /* Dhcp6Binding, at most 500 */
  struct DhcpServerList conflicts; /* Dhcp6ConflictIp */
};

/** An address that is kept for one hardware address. */
struct Dhcp6StaticHost {
  uint8_t mac[6];
  uint8_t ip6[DHCP6S_ADDRESS_SIZE];
};

/** Addresses, names and hosts stand in the order in which they were given. */
struct Dhcp6Pool {
  struct DhcpListHead link;
  uint32_t pool_id;
  uint8_t start[DHCP6S_ADDRESS_SIZE]; /* first address that is handed out unasked; zero = no network */
  uint8_t end[DHCP6S_ADDRESS_SIZE];   /* last address when prefix_len is 0, else unused */
  uint8_t prefix_len;                 /* bits of `start` that make the pool; 0 = the pool runs from start to end */
  uint32_t preferred, valid;          /* lifetimes; 0xFFFFFFFF = infinite; 0 until set */
  int32_t dns_count, domain_count, exclude_count, host_count, binding_count;
  uint8_t dns[DHCP6S_MAX_DNS_SERVERS][DHCP6S_ADDRESS_SIZE];
  char domain[DHCP6S_MAX_DOMAIN_NAMES][DHCP6S_DOMAIN_NAME_SIZE + 1];
  uint8_t exclude[DHCP6S_MAX_EXCLUDES][DHCP6S_ADDRESS_SIZE];
  struct Dhcp6StaticHost host[DHCP6S_MAX_HOSTS];
};

enum Dhcp6BindingState { DHCP6S_OFFERED = 1, DHCP6S_BOUND = 2 };

struct Dhcp6Binding {
  struct DhcpListHead link;
  uint8_t client_id[DHCP6S_CLIENT_ID_SIZE]; /* zero padded */
  uint8_t id_len;
  uint32_t pool_id;
  uint8_t ip6[DHCP6S_ADDRESS_SIZE];
  uint16_t ia_type; /* 3 IA_NA, 4 IA_TA, 0 while offered */
  uint32_t iaid;
  uint32_t preferred, valid; /* 0xFFFFFFFF = infinite */
  uint32_t time;             /* of the offer, or of the lease's last renewal */
  uint8_t state;             /* Dhcp6BindingState */
};

struct Dhcp6ConflictIp {
  struct DhcpListHead link;
  uint8_t ip6[DHCP6S_ADDRESS_SIZE];
  uint32_t time; /* of the last report */
};

DHCP_API extern struct Dhcp6ServerConfig dhcp6s_cfg;

/* Life. */

/** Switches the server off, frees what it holds and begins anew. */
DHCP_API void init_DHCP6S_cfg(void);
/** The same state again does nothing. -1 while the DHCPv6 relay is on. */
DHCP_API int dhcp6_server_start_stop(int on);
DHCP_API int get_dhcp6_server_start(int* out);
/** Ends offers after 60 seconds, leases after their valid lifetime, conflicts after a day. */
DHCP_API void dhcp6s_binding_expire_timeout(void);

/* Configuration. An unknown pool is -1, unless said. */

/** A pool that is there stays as it is: 0. -2 at ten pools. */
DHCP_API int dhcp6_server_create_pool_entry(uint32_t pool_id);
/** With its bindings. An unknown pool is 0. */
DHCP_API int dhcp6_server_del_pool_entry(uint32_t pool_id);
/** `prefix_len` 0..128; `end` counts only with 0 and may be null otherwise. Bindings outside the new range end;
    lifetimes become 43200 and 86400 where there are none. */
DHCP_API int dhcp6_server_set_pool_network(uint32_t pool_id, const uint8_t start[16], const uint8_t end[16],
                                           int prefix_len);
/** With the pool's bindings and its lifetimes. */
DHCP_API int dhcp6_server_del_pool_network(uint32_t pool_id);
/** -1 when preferred > valid. Leases already given keep theirs until they are renewed. */
DHCP_API int dhcp6_server_set_pool_lifetime(uint32_t pool_id, uint32_t preferred, uint32_t valid);
/** Replaces the list by `count` addresses, one behind the other. -2 for more than three. */
DHCP_API int dhcp6_server_set_dns_srv(uint32_t pool_id, const uint8_t (*addresses)[16], int count);
DHCP_API int dhcp6_server_del_dns_srv(uint32_t pool_id);
/** Adds a name of 1 to 253 characters; one that is there: 0. -2 at three names. */
DHCP_API int dhcp6_server_set_domain_name(uint32_t pool_id, const char* name);
DHCP_API int dhcp6_server_del_domain_name(uint32_t pool_id, const char* name);
/** Adds an address that is not handed out, unless as a static host's; one that is there: 0. -2 at ten. */
DHCP_API int dhcp6_server_set_exclude_ip(uint32_t pool_id, const uint8_t ip6[16]);
DHCP_API int dhcp6_server_del_exclude_ip(uint32_t pool_id, const uint8_t ip6[16]);
/** A known MAC moves to the new address. -2 at ten hosts, a known MAC too; -1 outside the pool or when another host has
    the address. */
DHCP_API int dhcp6_server_set_static_host(uint32_t pool_id, const uint8_t mac[6], const uint8_t ip6[16]);
DHCP_API int dhcp6_server_del_static_host(uint32_t pool_id, const uint8_t mac[6]);
DHCP_API int dhcp6_server_clear_binding(const uint8_t* ip6);  /* null = all; 0 */
DHCP_API int dhcp6_server_clear_conflict(const uint8_t* ip6); /* null = all; 0 */

/* Pools, addresses, bindings; the caller holds the pools' word. Null = none. */

/** The newest pool that holds the relay's link address, else the device's own address on the frame's VLAN. */
DHCP_API struct Dhcp6Pool* dhcp6_get_pool_entry(struct skpack* skp);
DHCP_API struct Dhcp6Pool* dhcp6_get_pool_by_id(uint32_t pool_id);
DHCP_API struct Dhcp6StaticHost* dhcp6_get_static_host(struct Dhcp6Pool* pool, const uint8_t mac[6]);
/** The client's newest binding in the pool, of that address or of any (null). At most 128 bytes of an id count. The
    caller holds the bindings' word as long as it uses the result. */
DHCP_API struct Dhcp6Binding* dhcp6_get_binding(const uint8_t* client_id, int len, struct Dhcp6Pool* pool,
                                                const uint8_t* ip6);
/** An offer from now on; null at 500 bindings or without memory. Takes the bindings' word. */
DHCP_API struct Dhcp6Binding* dhcp6_add_binding(const uint8_t* client_id, int len, struct Dhcp6Pool* pool,
                                                const uint8_t ip6[16]);
/** What the host holds, else what is requested (null = nothing), when that is free; else the lowest free address. -1 =
    no address, and ip6_out is untouched. */
DHCP_API int dhcp6_select_ip_addr(struct Dhcp6Pool* pool, struct Dhcp6StaticHost* host, const uint8_t* requested,
                                  uint8_t ip6_out[16]);
DHCP_API int dhcp6_request_ip_check(
    const uint8_t ip6[16]); /* -1 = may not be leased: a conflict, or the device's own */
DHCP_API int dhcp6_add_conflict_ip(const uint8_t ip6[16]);

/* Messages. `relay_frame` is the RELAY-FORW that brought the message in `skp`, or null. */

DHCP_API int dhcp6_server_packet_process(struct skpack* skp); /* 0 handled, -1 ignored */
/** Makes `inner`, a frame in `buf` (1024 bytes), of the message that the relay's frame carries, at byte 66. */
DHCP_API int dhcp6_server_relay_pkt_mod(struct skpack* relay_frame, uint8_t* buf, struct skpack* inner);
DHCP_API int dhcp6s_send_advertise(struct skpack* skp, struct Dhcp6Pool* pool, const uint8_t ip6[16],
                                   struct skpack* relay_frame);
/** `ip6` null says NoAddrsAvail; `status` -1 = no status option. */
DHCP_API int dhcp6s_send_reply(struct skpack* skp, struct Dhcp6Pool* pool, const uint8_t* ip6,
                               struct skpack* relay_frame, int status);
DHCP_API int dhcp6s_send_status_reply(struct skpack* skp, int status, struct skpack* relay_frame);
/** Sends the `len` bytes of a message, wrapped for the relay. */
DHCP_API int dhcp6s_send_relay_reply(struct skpack* relay_frame, const uint8_t* message, int len);
/** Sends the `len` bytes of a message to the sender of `skp`. */
DHCP_API int dhcp6s_send_packet(struct skpack* skp, const uint8_t* message, int len);

/* Display: each writes a text file whose name get_tmp_file_name(0, path, a, b) gives, and returns the length of the
   path + 1, or -1 when the file cannot be opened. */
DHCP_API int show_dhcp6_server_conf(char* path, int a, int b);
DHCP_API int show_dhcp6_server_binding(char* path, int a, int b);
DHCP_API int show_dhcp6_server_conflict(char* path, int a, int b);
/** Appends the configuration as command lines ended by CR LF, pools newest first. 0. */
DHCP_API int onu_dhcp6_server_save(FILE* stream);

/* Readout. */

/** What became of a message. */
enum Dhcp6ServerVerdict {
  DHCP6S_ADVERTISED,
  DHCP6S_REPLIED,             /* with an address */
  DHCP6S_REPLIED_NO_ADDRESS,  /* NoAddrsAvail: the client is not known */
  DHCP6S_REPLIED_SUCCESS,     /* a RELEASE or DECLINE of a known client */
  DHCP6S_REPLIED_NOT_ON_LINK, /* a CONFIRM from elsewhere */
  DHCP6S_UNTAGGED,
  DHCP6S_MALFORMED, /* headers outside the frame */
  DHCP6S_NO_POOL,   /* nobody serves that link */
  DHCP6S_BAD_RELAY, /* a relay's message that carries none, or that is too long */
  DHCP6S_NO_CLIENT_ID,
  DHCP6S_OTHER_SERVER, /* names another server */
  DHCP6S_SERVER_ID,    /* names, or does not name, a server against the rule for its type */
  DHCP6S_NO_IA_ADDRESS,
  DHCP6S_NO_FREE_ADDRESS, /* or no room for the binding */
  DHCP6S_NO_BINDING,      /* a REQUEST or CONFIRM for what is not bound */
  DHCP6S_ADDRESS_TAKEN,   /* a REQUEST for a conflict or an own address */
  DHCP6S_OTHER_TYPE,
  DHCP6S_NOT_SENT, /* no IA to answer, options that do not fit, no memory */
  DHCP6S_VERDICTS
};

/** `count[verdict][type]` by message type 1..13, as the relay carried it; 0 = any other or none. */
struct Dhcp6ServerCounters {
  uint32_t count[DHCP6S_VERDICTS][14];
};

DHCP_API void dhcp6_server_get_counters(struct Dhcp6ServerCounters* out);
DHCP_API void dhcp6_server_clear_counters(void);
DHCP_API const char* dhcp6_server_verdict_name(int verdict); /* lower-case words; never null */

/** Copies of the records as values, newest first; `link` is null in them. Each returns how many there are, which may be
    more than the `room` that was filled. */
DHCP_API int dhcp6_server_get_pools(struct Dhcp6Pool* out, int room);
DHCP_API int dhcp6_server_get_bindings(struct Dhcp6Binding* out, int room);
DHCP_API int dhcp6_server_get_conflicts(struct Dhcp6ConflictIp* out, int room);
/** Seconds until a binding ends, as the clock stands now; -1 = never. */
DHCP_API int64_t dhcp6_server_binding_left(const struct Dhcp6Binding* binding);

DHCP_END

#endif
