/* What the two snoopings have in common: interfaces, the indexes over their bindings, verdicts on frames, what became
   of a binding file. Numbers are host order. */
#ifndef DHCP_BINDING_H
#define DHCP_BINDING_H

#include "dhcp/types.h"

DHCP_BEGIN

enum {
  DHCP_SNOOP_BUCKETS = 256,
  DHCP_SNOOP_VLAN_BYTES = 512, /* 4096 bits */
  DHCP_SNOOP_PATH_SIZE = 128
};

/** One interface; begins like the device's list element. */
struct SnoopIntfEntry {
  struct SnoopIntfEntry *next, *prev;
  uint32_t ifindex;
  int32_t trust;       /* non-zero = a server may stand behind it */
  int32_t suppression; /* non-zero = every DHCP frame from it is discarded */
  uint32_t dropped_ack;
  uint32_t dropped_offer;
};

/** One index over the bindings: a count, a busy word and a list a bucket. */
struct DhcpSnoopIndex {
  int32_t count[DHCP_SNOOP_BUCKETS];
  dhcp_word busy[DHCP_SNOOP_BUCKETS];
  struct DhcpListHead head[DHCP_SNOOP_BUCKETS];
};

/** Why a frame went where it went. */
enum DhcpSnoopVerdict {
  DHCP_SNOOP_PASSED,      /* handed on to relay or server */
  DHCP_SNOOP_FORWARDED,   /* sent by snooping */
  DHCP_SNOOP_NOT_SNOOPED, /* VLAN outside snooping: forwarded or passed on as it is */
  DHCP_SNOOP_MALFORMED,   /* headers outside the frame */
  DHCP_SNOOP_UNKNOWN_PORT,
  DHCP_SNOOP_SUPPRESSED,
  DHCP_SNOOP_NO_MESSAGE_TYPE,
  DHCP_SNOOP_TABLE_FULL,
  DHCP_SNOOP_SOURCE_MAC, /* sender's MAC is not the client's */
  DHCP_SNOOP_BAD_COOKIE,
  DHCP_SNOOP_SERVER_ON_UNTRUSTED,
  DHCP_SNOOP_CLIENT_OPTION82,
  DHCP_SNOOP_STATIC_ELSEWHERE, /* a static client on another port or VLAN */
  DHCP_SNOOP_NO_BINDING,
  DHCP_SNOOP_WRONG_PORT, /* RELEASE or DECLINE from where the client is not bound */
  DHCP_SNOOP_SERVER_NOT_LISTED,
  DHCP_SNOOP_OPTION82_FAILED, /* the rewrite was refused */
  DHCP_SNOOP_NO_ADDRESS,      /* a DHCPv6 REPLY without an address */
  DHCP_SNOOP_VERDICTS
};

DHCP_API const char* dhcp_snoop_verdict_name(int verdict); /* lower-case words, for displays */

/** What became of the binding file. Times are seconds since the epoch, 0 = never. */
struct DhcpSnoopDatabase {
  uint32_t last_write, last_read;
  uint32_t written, loaded; /* entries, at the last write and read */
  uint32_t write_failures;
  uint32_t skipped;                /* lines of the last read that were no whole binding */
  char path[DHCP_SNOOP_PATH_SIZE]; /* where the file lies */
};

DHCP_END

#endif
