/* The device's text helpers, checksum and temporary files. */
#ifndef DHCP_PLATFORM_TEXT_H
#define DHCP_PLATFORM_TEXT_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

char* onu_mac2str(const uint8_t mac[6], char text[18]); /* "00:11:22:33:44:55"; returns text */
int onu_str2mac(const char* text, uint8_t mac[6]);
const char* str_enable(int on);                  /* "enable" / "disable" */
const char* str_intf_id(uint32_t intf);          /* "Gi3", "Ag1" */
int strtoip6(const char* text, uint8_t ip6[16]); /* accepts "addr" and "addr/len" */
/** Internet checksum (RFC 1071): the complement of the sum of the big-endian 16-bit words, to be stored big-endian. */
uint16_t cksum(const void* buf, int len);
/** Fills `path` (room for 128 bytes) with the name of a temporary file. */
int get_tmp_file_name(int kind, char* path, int a, int b);

PLATFORM_END

#endif
