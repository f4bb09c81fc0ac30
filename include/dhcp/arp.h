/* A small ARP toolkit on packet sockets of the device's Linux interfaces (RFC 826). IPv4 addresses are host-order
   numbers. Every call blocks for up to its timeout and may run on any thread. */
#ifndef DHCP_ARP_H
#define DHCP_ARP_H

#include "dhcp/types.h"

DHCP_BEGIN

enum { DHCP_ARP_FRAME_SIZE = 60, DHCP_ARP_IFNAME_SIZE = 16 };

/** The sending interface. */
struct ArpIfInfo {
  char name[DHCP_ARP_IFNAME_SIZE]; /* at most 15 characters and a zero */
  uint32_t ip;                     /* sender address */
  uint8_t zero[8];
  uint8_t mac[6]; /* sender MAC */
  uint8_t zero2[2];
};

/** Fills a frame of 60 bytes. Operation 1 = request, 2 = reply; the target MAC counts for operation 2 alone. */
DHCP_API void mkArpMsg(int operation, uint32_t target_ip, const uint8_t* target_mac, uint32_t sender_ip,
                       const uint8_t sender_mac[6], uint8_t frame_out[DHCP_ARP_FRAME_SIZE]);
DHCP_API int openRawSocket(int* socket_out, uint16_t protocol);
/** 0 = found, 1 = no reply in time, -1 = not sent, -2 = receive failed, -3 = wait failed. `mac_out` may be null. */
DHCP_API int getmac(uint32_t target_ip, const struct ArpIfInfo* sender, int timeout_s, uint8_t* mac_out);
/** getmac() from the interface's own address and MAC; -1 also when the interface cannot be read. */
DHCP_API int get_ip_mac(const char* ifname, uint32_t target_ip, uint8_t* mac_out, int timeout_s);
/** 1 = nobody answered: the address is free. 0 = in use, or an error. */
DHCP_API int arpCheck(uint32_t target_ip, const struct ArpIfInfo* sender, int timeout_s);
DHCP_API int __arpping(uint32_t target_ip, const char* ifname);
DHCP_API int arpping(uint32_t target_ip, uint32_t sender_ip, const uint8_t sender_mac[6], const char* ifname);
/** Debug hex dump to standard output. */
DHCP_API void dumppacket(const uint8_t* bytes, int length);

DHCP_END

#endif
