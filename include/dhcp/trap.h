/* The chip rules that bring DHCP frames to the CPU. */
#ifndef DHCP_TRAP_H
#define DHCP_TRAP_H

#include "dhcp/types.h"

DHCP_BEGIN

/** Installs the rules that bring DHCPv4 frames to the CPU; harmless when they are there. 0, or -1 when the chip
 * refuses. */
DHCP_API int open_dhcp_cpu(void);
/** Removes them; harmless when they are not there. 0, or -1 when the chip refuses. */
DHCP_API int close_dhcp_cpu(void);

/** The same for DHCPv6. */
DHCP_API int open_dhcp6_cpu(void);
DHCP_API int close_dhcp6_cpu(void);
/** Installs the DHCPv6 rules for some ingress ports only: bit n of the 64 is port n, `lo` the first 32. */
DHCP_API int add_dhcp6_acl_rule(uint32_t lo, uint32_t hi);
/** Installs, or removes, the rule that keeps messages for DHCPv6 clients from entering these ports. -1 when the chip
 * refuses, or when there was nothing to remove. */
DHCP_API int add_dhcp6_notrust_port_acl_rule(uint32_t lo, uint32_t hi);
DHCP_API int del_dhcp6_notrust_port_acl_rule(void);

DHCP_END

#endif
