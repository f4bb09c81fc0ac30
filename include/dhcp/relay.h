/* The IPv4 relay's record and life (its forwarding is not part of this build). */
#ifndef DHCP_RELAY_H
#define DHCP_RELAY_H

#include "dhcp/types.h"

DHCP_BEGIN

enum { DHCPR_INFO_SLOTS = 200, DHCPR_BUFFER_SIZE = 2048 };

DHCP_API int dhcpc_task_init(void);
DHCP_API int dhcpc_task_entry(struct ModuleTaskEntry *row);

DHCP_END

#endif
