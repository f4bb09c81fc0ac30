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

DHCP_END

#endif
