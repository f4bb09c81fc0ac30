/* The DHCPv6 client: one IPv6 address for each of the device's own VLAN interfaces that is in DHCPv6 mode.

   IPv6 addresses, MACs, identifiers and kept options are bytes as on the wire; numbers are in host order, times in
   seconds. Only the low 16 bits of a VLAN count. Unless said, functions return 0 on success and -1 on failure and wait
   for the list's busy word themselves. */
#ifndef DHCP_CLIENT6_H
#define DHCP_CLIENT6_H

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCP6C_CLIENT_ID_SIZE = 14, /* option 1 with a DUID-LL (RFC 8415 section 11.4), header included */
  DHCP6C_DNS_SERVERS = 2,
  DHCP6C_DUID_SIZE = 128 /* longest DUID, and what of an identifier is compared (RFC 8415 section 11.1: 130 bytes) */
};

enum Dhcp6cMode { DHCP6C_MODE_DHCPV6 = 1, DHCP6C_MODE_STATIC = 2 };

enum Dhcp6cState {
  DHCPC6_INIT = 0,       /* looks for a server */
  DHCPC6_REQUESTING = 1, /* asks the server that has advertised */
  DHCPC6_BOUND = 2,      /* holds an address */
  DHCPC6_RENEW = 3,      /* T1 has passed: asks its server again */
  DHCPC6_REBIND = 4,     /* T2 has passed: asks any server */
  DHCPC6_RESTART = 5,    /* begins anew, by hand */
  DHCPC6_RELEASE = 6     /* gives the address up, then begins anew */
};

/** One VLAN interface in DHCPv6 mode. The pointers are the node's own and null until an answer is taken. */
struct Dhcp6cInterfaceNode {
  struct DhcpListHead link;
  uint8_t server_ip6[16]; /* source of the last answer taken */
  uint8_t server_mac[6];
  uint8_t dns[DHCP6C_DNS_SERVERS][16]; /* zero = none */
  uint32_t t1, t2;                     /* after `bound_time`; 0 = never */
  uint8_t prefix_len;
  int32_t mode; /* Dhcp6cMode; the task passes static nodes by */
  uint16_t vlan;
  uint32_t xid;       /* 24 bits */
  int32_t tries;      /* messages sent in the current exchange */
  uint8_t* client_id; /* option 1 whole, 14 bytes */
  uint8_t* server_id; /* option 2 whole, as accepted */
  uint8_t* ia;        /* option 3 whole, as accepted: 44 bytes with an address, else 16 */
  uint8_t* address;   /* 16 bytes */
  int32_t ticks;      /* seconds counted in the current state */
  int32_t renew_done, rebind_done;
  int32_t timeout; /* the tick at which the next burst of SOLICITs begins */
  int32_t backoff; /* the pause between bursts */
  int32_t requesting;
  int32_t installed;       /* the interface has been given the address */
  uint32_t valid_lifetime; /* 0 and 0xFFFFFFFF = for ever */
  int32_t state;           /* Dhcp6cState */
  uint32_t bound_time;     /* since the epoch */
};

/** The service's one record. */
struct Dhcp6cConfig {
  uint8_t mac[6];
  dhcp_int node_count;
  struct DhcpListHead nodes;                /* Dhcp6cInterfaceNode, newest first */
  dhcp_word busy;                           /* 255 = the list is taken */
  struct intf_order_list* ports;            /* where the client's frames go out */
  uint8_t client_id[DHCP6C_CLIENT_ID_SIZE]; /* option 1 whole */
};

DHCP_API extern struct Dhcp6cConfig dhcpc6_golbal_config;
DHCP_API extern int32_t gtimeout;         /* the shortest pause between bursts, 5 */
DHCP_API extern int32_t discover_retries; /* messages in a burst, 3; 0 = no end */

/* Life. */
/** Begins anew: no interfaces, all physical ports, the identifier from the device's MAC. */
DHCP_API void dhcp6c_init(void);
DHCP_API int dhcp6c_task_init(void);
DHCP_API int dhcp6c_task_entry(struct ModuleTaskEntry* row);

/* Interfaces. */
/** Static removes the interface and its address; DHCPv6 adds it, or leaves it be when it is there. -1 = no such mode,
    or no memory. */
DHCP_API int dhcp6c_set_interface_ip6_mode(uint32_t vlan, int mode);
DHCP_API int dhcp6c_interface_node_add(uint32_t vlan);
/** With its address, which is taken off the interface also when there is no node. 0. */
DHCP_API int dhcp6c_interface_vlan_node_del(uint32_t vlan);
/** Null when there is none. The node stays the list's: it may go when another thread removes it. Takes no word. */
DHCP_API struct Dhcp6cInterfaceNode* dhcp6c_find_interface_node(uint32_t vlan);
/** The interface looks for a server anew, its address in place until another one comes. -1 = not in DHCPv6 mode. */
DHCP_API int dhcp6c_manual_set_renew_state(uint32_t vlan);

/* Frames. The node's senders expect the word to be held; -1 = the message does not fit. */
/** An answer to one of the interfaces. Never releases the frame. -1 unless it is nothing for a client. */
DHCP_API int dhcp6_client_packet_process(struct skpack* skp);
DHCP_API int dhcp6c_send_discover(struct Dhcp6cInterfaceNode* node);
DHCP_API int dhcp6c_send_select(struct Dhcp6cInterfaceNode* node);
/** RENEW (`rebind` 0) or REBIND. */
DHCP_API int dhcp6c_send_renew(struct Dhcp6cInterfaceNode* node, int rebind);
DHCP_API int dhcp6c_send_release(struct Dhcp6cInterfaceNode* node);
/** Puts the headers around the message that stands at byte 66 of `frame` (room for 1024 bytes) and floods it. */
DHCP_API int dhcp6c_send_packet(const struct Dhcp6cInterfaceNode* node, uint8_t* frame, int message_size);
/** Appends the option request (RFC 8415 section 21.7) at `offset` of a message's options; the new offset, or -1. */
DHCP_API int dhcp6c_add_client_options(uint8_t* message, int offset);
/** Text for the logs; `text` has room for 46 and 18 characters. Returns `text`. */
DHCP_API char* dhcp6c_print_ipv6addr(const uint8_t ip6[16], char* text);
DHCP_API char* dhcp6c_print_mac(const uint8_t mac[6], char* text);

/* Readout: what displays and programs read instead of the nodes themselves. */
/** An interface as a value. What no answer has told yet is zero. */
struct Dhcp6cInterface {
  uint16_t vlan;
  uint8_t mode;      /* Dhcp6cMode */
  uint8_t state;     /* Dhcp6cState */
  uint8_t installed; /* 1 = the address is on the interface */
  uint8_t prefix_len;
  uint8_t has_address; /* 1 = `address` and the lifetimes mean something */
  uint8_t dns_count;
  uint8_t address[16];
  uint32_t iaid, t1, t2, preferred_lifetime, valid_lifetime;
  uint32_t bound_time; /* since the epoch; 0 = never bound */
  /* Seconds left; 0 = passed, or not bound; 0xFFFFFFFF = never comes. */
  uint32_t renew_in, rebind_in, expires_in;
  int32_t tries;
  uint8_t server_ip6[16];
  uint8_t server_mac[6];
  uint16_t server_duid_len; /* bytes of `server_duid`, longer ones are cut */
  uint8_t server_duid[DHCP6C_DUID_SIZE];
  uint8_t dns[DHCP6C_DNS_SERVERS][16];
};
/** Copies the first `room` interfaces, newest first. Returns how many there are, which may be more. */
DHCP_API int dhcp6c_get_interfaces(struct Dhcp6cInterface* out, int room);
/** "init", "requesting", ...; never null. */
DHCP_API const char* dhcp6c_state_name(int state);

/** What became of a received frame. */
enum Dhcp6cVerdict {
  DHCP6C_ADVERTISE_TAKEN,
  DHCP6C_REPLY_TAKEN,  /* the interface is bound */
  DHCP6C_NOT_AWAITED,  /* an ADVERTISE or REPLY in another state */
  DHCP6C_REFUSED,      /* the server reports a failure (RFC 8415 section 21.13) */
  DHCP6C_NOT_OURS,     /* no interface waits for it */
  DHCP6C_NO_OPTION,    /* identifiers or IA_NA missing */
  DHCP6C_OTHER_TYPE,   /* neither ADVERTISE nor REPLY */
  DHCP6C_NO_INTERFACE, /* none is in DHCPv6 mode */
  DHCP6C_MALFORMED,    /* no 802.1Q tag, or headers outside the frame */
  DHCP6C_NO_MEMORY,
  DHCP6C_VERDICTS
};
struct Dhcp6cCounters {
  uint32_t received[DHCP6C_VERDICTS];
  uint32_t sent[9]; /* by message type, 1..8 */
  uint32_t not_sent;
};
DHCP_API void dhcp6c_get_counters(struct Dhcp6cCounters* out);
DHCP_API void dhcp6c_clear_counters(void);
/** Lower-case words, for displays; never null. */
DHCP_API const char* dhcp6c_verdict_name(enum Dhcp6cVerdict verdict);

DHCP_END

#endif
