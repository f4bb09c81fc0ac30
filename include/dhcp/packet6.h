/* DHCPv6 bytes that the module shares with its host: options, the address of an IA, the UDP checksum (RFC 8415).

   `frame` is a received frame whose `ud_hdr` leads to the UDP header; a message ends where the UDP length says, at the
   latest with the frame. Offsets count from the first option of a message. IPv6 addresses are sixteen bytes as on the
   wire, unless they are said to be four words. */
#ifndef DHCP_PACKET6_H
#define DHCP_PACKET6_H

#include "dhcp/types.h"

DHCP_BEGIN

/** ff02::1:2, all servers and relays, and its Ethernet address. */
DHCP_API extern const uint8_t dhcpv6_mcast_ip6addr[16];
DHCP_API extern const uint8_t dhcpv6_mcast_mac[6];

/** Data of the first option `code`, or null; its length goes to `length_out`, which may be null. The second is for
    messages of relays, whose header is longer. */
DHCP_API uint8_t* dhcp6_get_option(struct skpack* frame, int code, int* length_out);
DHCP_API uint8_t* dhcp6_get_relay_option(struct skpack* frame, int code, int* length_out);

/** Appends an option to the message that is being built. Returns the offset behind it, or -1 when that would be 955 or
    more; then nothing is written. The message has room for a header (4 or 34 bytes) and 954 bytes of options. */
DHCP_API int dhcp6_add_option(uint8_t* message, int offset, int code, int length, const uint8_t* data);
DHCP_API int dhcp6_add_relay_option(uint8_t* message, int offset, int code, int length, const uint8_t* data);

/** Address (four host-order words, the first bytes in the first word) and valid lifetime (seconds) of the message's
    first IA_NA or, when it has none, of its first IA_TA. 0, or -1 when there is no such address. */
DHCP_API int dhcp6_get_ia_address(struct skpack* frame, uint32_t address_out[4], uint32_t* valid_lifetime_out);

/** Type (3 IA_NA, 4 IA_TA) and IAID of the message's first IA, and the address (bytes as on the wire) and valid
   lifetime that it holds as a whole. 0, 1 = an IA without an address, -1 = no whole IA. Outputs may be null; those that
   are not there stay as they are. */
DHCP_API int dhcp6_get_ia_type_addr(struct skpack* frame, uint16_t* type_out, uint32_t* iaid_out,
                                    uint8_t address_out[16], uint32_t* valid_lifetime_out);

/** UDP checksum (RFC 8200 section 8.1) of a single-tagged frame without IPv6 extension headers, whose own checksum
    field is zero; to be stored most significant byte first. `udp_length` bytes from the UDP header on are there. */
DHCP_API int16_t dhcp6_udp_calculate_chksum(const uint8_t* frame, int udp_length);

/** 1 when the MAC begins 33:33 (RFC 2464 section 7), else 0. */
DHCP_API int dhcp6_is_multicast_ether_addr(const uint8_t* mac);

DHCP_END

#endif
