/* Frame helpers that the module shares with its host: option lookup, checksum, interface query, dumps. */
#ifndef DHCP_PACKET_H
#define DHCP_PACKET_H

#include "dhcp/types.h"

DHCP_BEGIN

/** Data of the first option `code` (just after its length byte), or null. `msg` is a whole DHCPv4 message with 308
    bytes of options (RFC 2131 section 2); `file` and `sname` are searched as option 52 says (RFC 2132 section 9.3). */
DHCP_API uint8_t* __get_option(uint8_t* msg, int code);

/** Internet checksum (RFC 1071) over big-endian words, to be stored most significant byte first. An odd `len` takes
    in the byte after the buffer, which must be zero. */
DHCP_API int16_t check_sum(const void* buf, int len);

/** IPv4 address (network order) and MAC of a network interface; either output may be null. 0 or -1. */
DHCP_API int get_nic_address(const char* ifname, uint32_t* ip_out, uint8_t* mac_out);

/** Hexadecimal dump on standard error, sixteen bytes a row. */
DHCP_API void dhcp_dump_packet(const char* title, const uint8_t* buf, int len);

/** The frame's headers, tag and switch tag on standard output. */
DHCP_API void print_sk_packet(const struct skpack* skp);
DHCP_API void print_ether_header(const uint8_t* header);
DHCP_API void print_iphdr(const uint8_t* header);
DHCP_API void print_udphdr(const uint8_t* header);
DHCP_API void print_dhcp(const uint8_t* message);
DHCP_API void print_bcmtag_to_cpu(const uint8_t* tag);

DHCP_END

#endif
