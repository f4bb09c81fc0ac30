/* The DHCPv6 relay (RFC 8415 section 19): configuration, destinations, relaying both ways, the search for the
   destinations' MACs. IPv6 addresses are 16 bytes and MACs six bytes as on the wire, VLANs and interface words
   host-order numbers as in dhcp/packet.h. Functions return 0, or -1, unless said. */
#ifndef DHCP_RELAY6_H
#define DHCP_RELAY6_H

#include <stddef.h>
#include <stdio.h>

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCP6_RELAY_BUFFER_SIZE = 2048,
  DHCP6_RELAY_IFNAME_SIZE = 16,
  DHCP6_RELAY_MAX_DESTINATIONS = 11,
  DHCP6_RELAY_CLIENTS = 100,
  DHCP6_RELAY_LINK_SIZE = 32, /* a further relay's link-address and peer-address */
};

/** One destination: a server, or a relay nearer to one. */
struct Dhcp6ServerNode {
  struct DhcpListHead links;
  uint8_t ip6[16];
  uint32_t out_intf; /* configured output interface, 0 = where the MAC was learnt */
  uint8_t valid;     /* 1 = mac and vlan are known; stays 1 with a zero MAC when the next hop falls silent */
  uint8_t probe;     /* 1 = the MAC is to be probed */
  uint8_t mac[6];    /* of the destination, or of the gateway towards it */
  uint32_t vlan;     /* in which it is reached */
  uint32_t time;     /* when the MAC was learnt, seconds since the epoch */
};

/** One client, or further relay, whose message was relayed. */
struct Dhcp6InfoNode {
  uint8_t ip6[16]; /* IPv6 source of the message: the peer-address under which its answer comes back */
  uint8_t mac[6];
  uint16_t vlan;
  uint16_t port; /* low half of the ingress interface word */
  uint8_t valid; /* 1 = slot in use */
  uint32_t time; /* when the slot was written */
  uint8_t* link; /* DHCP6_RELAY_LINK_SIZE bytes of a further relay's message, or null */
};

/** The relay's one record. */
struct Dhcp6RelayConfig {
  dhcp_flag status;                     /* 0 off, 1 on */
  uint8_t* send_buf;                    /* 2048 bytes for frames being built, null before init */
  char ifname[DHCP6_RELAY_IFNAME_SIZE]; /* the device's management interface */
  uint8_t dev_mac[6];                   /* its MAC, read once */
  int32_t dev_mac_valid;                /* 1 once it was read */
  int32_t server_count;
  struct DhcpListHead server_list; /* Dhcp6ServerNode, oldest first */
  dhcp_word server_busy;           /* readers of server_list; 255 = being changed */
  dhcp_int info_count;             /* used slots of info_table */
  struct Dhcp6InfoNode info_table[DHCP6_RELAY_CLIENTS];
  int32_t port_count;
  dhcp_word port_users;              /* readers of port_list; 255 = being changed */
  struct intf_order_list* port_list; /* where multicast frames are flooded */
};

DHCP_API extern struct Dhcp6RelayConfig gDhcp6Relay;

/** Makes the buffer and the port list anew and forgets the destinations; switch and clients stay as they are. */
DHCP_API void init_dhcp6_relay_cfg(void);
/** Switches off and gives back everything that is allocated. */
DHCP_API void exit_dhcp6_relay_cfg(void);

/* Configuration. */
DHCP_API int get_dhcp6_relay_start(int* out);
/** -84 while the DHCPv6 server is on. */
DHCP_API int set_dhcp6_relay_start(int on);
/** The same with -1 as the answer. */
DHCP_API int dhcp6_relay_start_stop(int on);

/* Destinations. */
/** Adds (op 1) or removes (other op; 0 also when it is not there). `out_intf` 0 = none. Adding waits up to three
    seconds for the next hop's MAC; without one a new destination is probed later, and a listed one is left as it is
    with -1, as is a twelfth. */
DHCP_API int dhcp6_relay_set_dhcp_serverip(int op, const uint8_t ip6[16], uint32_t out_intf);
/** Finds, makes (create 1) or updates (with a MAC, which may be null) a destination; null when it is there already, not
    there, or one too many. The node stays the list's: it may go when another thread removes it. */
DHCP_API struct Dhcp6ServerNode* dhcp6_relay_find_dhcp_serverip(const uint8_t ip6[16], int create, const uint8_t* mac,
                                                                uint32_t vlan);
/** Links the node in at the tail. The caller holds the list. */
DHCP_API void insert_DHCP6_SERVER_list(struct DhcpListHead* head, struct Dhcp6ServerNode* node);

/* Relaying, on the dispatch task. Built frames begin at the Ethernet header and are tagged. */
/** Relays a client's message or returns an answer. Never releases `skp`. -1 = untagged, malformed, or not relayed. */
DHCP_API int dhcp6_relay_packet_process(struct skpack* skp);
/** Sends the message to every destination whose MAC is known; 0 also when there is none. */
DHCP_API int dhcp6_relay_send_reqeust_packet(struct skpack* skp, uint32_t in_intf, uint32_t vlan);
/** Builds the Relay-forward for one destination in `buf` (DHCP6_RELAY_BUFFER_SIZE bytes): the frame's length, or -1.
    Raises the hop-count of a received Relay-forward in place. */
DHCP_API int dhcp6_relay_construct_request(struct skpack* skp, uint8_t* buf, const struct Dhcp6ServerNode* node);
/** Sends what a Relay-reply carries to the client `peer`, or as a Relay-reply to the further relay whose `link` block
    is given (null = a client). */
DHCP_API int dhcp6_relay_send_ack_packet(struct skpack* skp, uint32_t in_intf, uint32_t vlan, const uint8_t mac[6],
                                         const uint8_t peer[16], const uint8_t* link);
/** Builds that frame in `buf`: its length, or -1. With a `link` lowers the received hop-count in place. */
DHCP_API int dhcp6_relay_construct_reply(struct skpack* skp, uint8_t* buf, uint32_t vlan, const uint8_t mac[6],
                                         const uint8_t peer[16], const uint8_t* link);
/** Sends a built frame in the VLAN of its tag (`vlan` counts only without one); `out_intf` 0 = by its destination. */
DHCP_API int dhcp6_relay_send(uint8_t* buf, uint32_t len, uint32_t in_intf, uint32_t vlan, uint32_t out_intf);
/** To `out_intf`, else a multicast to all ports of the VLAN, else to the port of the destination MAC; 0 also when that
    is unknown and nothing was sent. */
DHCP_API int dhcp6_relay_send_packet(struct skpack* skp, uint32_t vlan, uint32_t out_intf);

/* Clients, on the dispatch task. */
/** The slot for an address; *found 1 when it holds that address already. */
DHCP_API int dhcp6_get_info_table_index(const uint8_t ip6[16], int* found);
/** `link` (DHCP6_RELAY_LINK_SIZE bytes) may be null. */
DHCP_API int dhcp6_relay_add_info_table(const uint8_t ip6[16], const uint8_t mac[6], uint32_t port, uint32_t vlan,
                                        const uint8_t* link);
/** Each output may be null; `link_out` takes DHCP6_RELAY_LINK_SIZE bytes, zeros for a client. -1 = unknown. */
DHCP_API int dhcp6_relay_get_info_table(const uint8_t ip6[16], uint8_t* mac_out, uint16_t* port_out, uint16_t* vlan_out,
                                        uint8_t* link_out);

/* The search for MACs. */
/** 1 when some destination waits to be probed, else 0. */
DHCP_API int is_need_dhcp6_server_probe(void);
/** One round of the "dhcp_probe" task: asks anew for aged MACs, then probes unknown ones. Waits for the network. */
DHCP_API int dhcp6_relay_dhcp_server_mac_probe(void);
/** MAC and VLAN of the next hop towards `ip6`; waits up to `seconds`. -2 = no VLAN interface leads there, otherwise
    what get_ip6_mac() says. */
DHCP_API int dhcp6_relay_get_server_mac(const uint8_t ip6[16], uint8_t mac_out[6], uint32_t* vlan_out, int seconds);
/** Asks for the MAC of a neighbour on an interface (RFC 4861 section 4.3) and waits up to `seconds` for it. */
DHCP_API int get_ip6_mac(const char* devname, const uint8_t ip6[16], uint8_t mac_out[6], int seconds);

/* Display and save. */
/** Asks the device for a temporary file, names it in `path` (room for 128 bytes) and writes the display there. The
    path's length + 1, or -1. */
DHCP_API int show_dhcp6_relay_info(char* path, int a, int b);
DHCP_API int onu_dhcp6_relay_save(FILE* stream);

/* Readout: what became of frames, and who is asked. */
/** What the relay did with a frame. */
enum Dhcp6RelayVerdict {
  DHCP6_RELAY_REQUEST_RELAYED,        /* to at least one destination */
  DHCP6_RELAY_REQUEST_NO_DESTINATION, /* no destination's MAC is known */
  DHCP6_RELAY_REQUEST_MALFORMED,      /* carries no message where one must be, or claims more than the frame holds */
  DHCP6_RELAY_REQUEST_NOT_BUILT,      /* no address on the destination's VLAN, no MAC of our own, nowhere to build it */
  DHCP6_RELAY_REPLY_TO_CLIENT,
  DHCP6_RELAY_REPLY_TO_RELAY,     /* wrapped again, for a further relay */
  DHCP6_RELAY_REPLY_UNKNOWN_PEER, /* nobody of that address was relayed lately */
  DHCP6_RELAY_REPLY_MALFORMED,
  DHCP6_RELAY_REPLY_NOT_BUILT,
  DHCP6_RELAY_IGNORED,  /* a server's message outside a Relay-reply, or an unknown type */
  DHCP6_RELAY_UNTAGGED, /* no 802.1Q tag, or no DHCPv6 message */
  DHCP6_RELAY_VERDICTS
};
struct Dhcp6RelayCounters {
  uint32_t verdicts[DHCP6_RELAY_VERDICTS]; /* frames, by what became of them */
  uint32_t unknown_destination;            /* frames to a MAC that the device's table does not know */
  uint32_t clients;                        /* used slots of the client table */
};
enum Dhcp6RelayState {
  DHCP6_RELAY_VALID,   /* the MAC is known */
  DHCP6_RELAY_PROBING, /* asked for every few seconds */
  DHCP6_RELAY_STALE    /* aged and not learnt anew: only an output interface reaches it until the next ageing */
};
struct Dhcp6RelayDestination {
  uint8_t ip6[16];
  uint8_t mac[6];
  uint32_t vlan, out_intf;    /* 0 = unknown, 0 = none */
  uint8_t state;              /* Dhcp6RelayState */
  uint32_t age;               /* seconds since the MAC was last asked for with success, or lost; 0 when unknown */
  uint32_t requests, replies; /* relayed to it, and returned from it */
};
DHCP_API void dhcp6_relay_get_counters(struct Dhcp6RelayCounters* out);
/** Verdicts and frames to unknown MACs; the destinations' own counts stay. */
DHCP_API void dhcp6_relay_clear_counters(void);
/** Destinations in list order, at most `max`; the number written. */
DHCP_API size_t dhcp6_relay_get_destinations(struct Dhcp6RelayDestination* out, size_t max);
/** "request relayed", "reply to client", ...; never null. */
DHCP_API const char* dhcp6_relay_verdict_name(enum Dhcp6RelayVerdict verdict);
/** "valid", "probing", "stale"; never null. */
DHCP_API const char* dhcp6_relay_state_name(int state);

DHCP_END

#endif
