/* The IPv4 relay: configuration, helper addresses, forwarding, server probe. Addresses are host-order numbers, MACs
   bytes as on the wire, interface words as in dhcp/packet.h. Functions return 0, or -1, unless said. */
#ifndef DHCP_RELAY_H
#define DHCP_RELAY_H

#include <stddef.h>
#include <stdio.h>

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCPR_BUFFER_SIZE = 2048,
  DHCPR_IFNAME_SIZE = 16,
  DHCPR_MAX_HELPERS = 10,
  DHCPR_TRANSACTIONS = 200,
};

enum DhcpRelayStatus { DHCPR_OFF = 0, DHCPR_ON = 1, DHCPR_ON_MANAGEMENT_VLAN = 2 };

/** One helper address. */
struct DhcpServerNode {
  struct DhcpListHead links;
  uint32_t ip;
  uint8_t valid;  /* 1 = mac and vlan are known */
  uint8_t probe;  /* 1 = the MAC is to be probed */
  uint8_t mac[6]; /* of the server, or of the gateway towards it */
  uint32_t vlan;  /* in which the server or gateway is reached */
  uint32_t time;  /* when the MAC was learnt, seconds since the epoch */
};

/** One client whose request was relayed. */
struct DhcpInfoNode {
  uint8_t mac[6];     /* chaddr */
  uint32_t from_ip;   /* IPv4 source of the request */
  uint32_t from_vlan; /* VLAN of the request */
  uint32_t from_port; /* ingress interface word */
  uint32_t valid;     /* 1 = slot in use */
  uint32_t time;      /* when the slot was written */
  uint16_t bcast;     /* 1 = the request's flags field was not zero */
};

/** The relay's one record. */
struct DhcpRelayConfig {
  dhcp_flag status;               /* DhcpRelayStatus */
  dhcp_int trust;                 /* 1 = keep a client's option 82, 0 = replace it */
  dhcp_int option82;              /* 1 = insert our own when the client sent none */
  uint8_t* send_buf;              /* 2048 bytes, or null before init and after stop */
  int32_t send_sock;              /* raw packet socket, -1 when closed */
  dhcp_int tag_mode;              /* 0 client's tag, 1 helper's VLAN, 2 route_vlan */
  uint16_t route_vlan;            /* of tag mode 2 */
  dhcp_int route_port;            /* out of which requests that are not routed leave */
  char ifname[DHCPR_IFNAME_SIZE]; /* the device's management interface */
  uint8_t dev_mac[6];             /* its MAC, read once */
  int32_t dev_mac_valid;          /* 1 once it was read */
  int32_t server_count;
  struct DhcpListHead server_list; /* DhcpServerNode, oldest first */
  dhcp_word server_busy;           /* readers of server_list; 255 = being changed */
  int32_t info_count;
  struct DhcpInfoNode info_table[DHCPR_TRANSACTIONS];
  int32_t port_count;
  dhcp_word port_users;              /* readers of port_list; 255 = being changed */
  struct intf_order_list* port_list; /* where relayed broadcasts are flooded */
};

DHCP_API extern struct DhcpRelayConfig dhcpr_cfg;

/** Verbosity of the lines that the relay prints for each frame: the lower, the more. */
DHCP_API extern int32_t dhcp_dbg_level;

DHCP_API void init_DHCPR_cfg(void);
DHCP_API void exit_DHCPR_cfg(void);
/** Adds or removes an interface of the flood list; harmless when it is there already, or not there. */
DHCP_API int dhcp_relay_add_port(uint32_t intf);
DHCP_API int dhcp_relay_del_port(uint32_t intf);

/* Configuration. */
DHCP_API int DHCPR_set_dbg_level(int level);
DHCP_API int DHCPR_get_dbg_level(int* out);
DHCP_API int DHCPR_set_trust(int trust);
DHCP_API int DHCPR_get_trust(int* out);
DHCP_API int DHCPR_set_route_port(int port);
DHCP_API int DHCPR_get_route_port(int* out);
/** Tag mode 0, 1, or 2 with a VLAN that must exist. -84 = no such mode, -90 = no such VLAN. */
DHCP_API int DHCPR_set_route_vlan(int tag, int vlan);
DHCP_API int DHCPR_get_route_vlan(int* tag_out, int* vlan_out);
DHCP_API int DHCPR_set_dhcp_option82_switch(int on);
/** The switch itself. */
DHCP_API int DHCPR_get_option82_status(void);
/** DhcpRelayStatus; -1 while the IPv4 server is on. 0 is DHCPR_stop(). */
DHCP_API int DHCPR_start(int status);
DHCP_API int DHCPR_stop(void);
DHCP_API int DHCPR_get_sts(int* out);
DHCP_API int DHCPC_get_client_start(void);

/* Helper addresses. */
/** Adds (op 1) or removes (other op). -4 = not in management-VLAN mode, -1 = tag mode is not 1, -2 = ten are listed,
    -3 = listed already and its MAC cannot be learnt now. Waits up to a second for the next hop's MAC. */
DHCP_API int DHCPR_set_dhcp_serverip(int op, uint32_t ip);
/** Address and `valid` of each helper in list order, into two arrays of DHCPR_MAX_HELPERS. */
DHCP_API int DHCPR_get_dhcp_server_ip(uint32_t* ips_out, int32_t* valid_out);
/** Finds, makes (create 1) or updates (with a MAC) a node; null with *err -3 when it is there already, or not there.
    The node stays the list's: it may go when another thread removes it. */
DHCP_API struct DhcpServerNode* DHCPR_find_dhcp_serverip(uint32_t ip, int create, const uint8_t* mac, uint32_t vlan,
                                                         int* err);
/** Links the node in at the tail. The caller holds the list. */
DHCP_API void insert_DHCP_SERVER_list(struct DhcpListHead* head, struct DhcpServerNode* node);
/** First node with the address or VLAN, or null. The caller holds the list. */
DHCP_API struct DhcpServerNode* get_dhcp_server_by_ipaddr(uint32_t ip);
DHCP_API struct DhcpServerNode* get_dhcp_server_by_vlan(uint32_t vlan);

/* Forwarding, on the dispatch task. `frame` and `out` begin at the Ethernet header of a tagged frame. */
/** Relays a request or returns a reply. Never releases `skp`. -1 = untagged, malformed, or the request was not relayed.
 */
DHCP_API int dhcpr_packet_process(struct skpack* skp);
DHCP_API int DHCPR_send_reqeust_packet(struct skpack* skp, uint32_t in_intf, uint32_t vlan);
/** Builds the frame to send in `out` (DHCPR_BUFFER_SIZE bytes); *len is the frame's length, then the built one's. */
DHCP_API int DHCPR_handler(const uint8_t* frame, uint8_t* out, uint32_t* len, uint16_t port, uint16_t vlan, int l3,
                           const struct DhcpServerNode* server);
DHCP_API int DHCPR_bcm_tagging(uint8_t* out, int unused, uint16_t server_vlan, int l3);
DHCP_API int DHCPR_modify_request_packet_ip_mac(uint8_t* out, uint32_t vlan, const struct DhcpServerNode* server);
DHCP_API int DHCPR_modify_reply_packet_ip_mac(uint8_t* frame, const uint8_t client_mac[6], uint32_t vlan, int bcast);
DHCP_API int DHCPR_send(int sock, uint8_t* frame, uint32_t len, uint32_t in_intf, uint32_t vlan, int l3);
DHCP_API int DHCPR_send_ack_packet(struct skpack* skp, const uint8_t client_mac[6], uint32_t in_intf, uint32_t vlan,
                                   uint32_t from_vlan, int bcast);
DHCP_API int dhcpr_send_packet(struct skpack* skp, uint32_t in_intf, uint32_t vlan);
DHCP_API int add_valid_table(const uint8_t mac[6], uint32_t from_ip, uint32_t from_port, uint32_t from_vlan,
                             uint32_t flags);
/** The slot for a MAC; *found 1 when it holds that MAC already. */
DHCP_API int get_valid_table_index(const uint8_t mac[6], int* found);
/** Each output may be null. -1 = unknown. */
DHCP_API int get_dhcp_info(const uint8_t mac[6], uint32_t* from_ip_out, uint32_t* from_port_out,
                           uint32_t* from_vlan_out, uint16_t* bcast_out);

/* The server probe: the "dhcp_probe" task. */
DHCP_API int dhcp_probe_task_init(void);
DHCP_API int dhcp_probe_task_entry(struct ModuleTaskEntry* row);
DHCP_API int dhcpr_dhcp_server_mac_probe(void);
DHCP_API int is_need_dhcp_server_probe(void);
DHCP_API void dhcp_server_node_timeout_check(void);
/** MAC and VLAN of the next hop towards `ip`; waits up to `timeout_s` seconds. -2 = no VLAN interface leads there,
    otherwise the ARP query's result. */
DHCP_API int DHCPR_get_server_mac(uint32_t ip, uint8_t mac_out[6], uint32_t* vlan_out, int timeout_s);
/** 1 when a two-hop trace from `src` to `dst` shows no failure, else 0. Runs "traceroute"; takes seconds. */
DHCP_API int check_ip_valid_by_trace(uint32_t src, uint32_t unused, uint32_t dst);

/** A UDP socket bound to port 67 that may broadcast; the caller closes it. -1 on failure. */
DHCP_API int DHCPR_socket(void);

/* The "dhcpc" ticker: once a second it lets the device look for changed addresses. */
DHCP_API int dhcpc_task_init(void);
DHCP_API int dhcpc_task_entry(struct ModuleTaskEntry* row);

/* Display and save. */
/** Asks the device for a temporary file, names it in `path` (room for 128 bytes) and writes the display there. The
    path's length + 1, or -1. */
DHCP_API int show_dhcp_relay_info(char* path, int a, int b);
DHCP_API int onu_dhcp_relay_save(FILE* out);

/* Readout: what became of frames, and who is asked. */
/** What the relay did with a frame. */
enum DhcpRelayVerdict {
  DHCPR_REQUEST_ROUTED,    /* to at least one helper */
  DHCPR_REQUEST_TO_PORT,   /* out of the route port */
  DHCPR_REQUEST_NO_HELPER, /* management-VLAN mode, and no helper's MAC is known */
  DHCPR_REQUEST_MALFORMED, /* no cookie, no end option, or too long with option 82 */
  DHCPR_REQUEST_NOT_SENT,  /* no address on the helper's VLAN, or nowhere to build it */
  DHCPR_REPLY_TO_CLIENT,   /* a client of the transaction table */
  DHCPR_REPLY_PASSED_ON,   /* of an unknown client, within its own VLAN */
  DHCPR_REPLY_FOR_DEVICE,  /* of an unknown client, to the device's own MAC */
  DHCPR_UNTAGGED,          /* no 802.1Q tag, or no DHCP message */
  DHCPR_VERDICTS
};
struct DhcpRelayCounters {
  uint32_t verdicts[DHCPR_VERDICTS]; /* frames, by what became of them */
  uint32_t unknown_destination;      /* frames to a MAC that the device's table does not know */
  uint32_t transactions;             /* used slots of the transaction table */
};
struct DhcpRelayHelper {
  uint32_t ip, vlan;
  uint8_t mac[6];
  uint8_t valid, probe;
  uint32_t age;               /* seconds since the MAC was learnt; 0 when unknown */
  uint32_t requests, replies; /* relayed to it, and returned from it */
};
DHCP_API void dhcp_relay_get_counters(struct DhcpRelayCounters* out);
DHCP_API void dhcp_relay_clear_counters(void);
/** Helpers in list order, at most `max`; the number written. */
DHCP_API size_t dhcp_relay_get_helpers(struct DhcpRelayHelper* out, size_t max);
/** "request routed", "reply passed on", ...; never null. */
DHCP_API const char* dhcp_relay_verdict_name(enum DhcpRelayVerdict verdict);

DHCP_END

#endif
