/* IPv4 snooping: so far the lock under which port changes are told to every service. */
#ifndef DHCP_SNOOPING_H
#define DHCP_SNOOPING_H

#include "dhcp/types.h"

DHCP_BEGIN

/** Takes and gives the snooping semaphore. 0, or -1 after a line in the log. */
DHCP_API int dhcp_snooping_mutex_lock_func(void);
DHCP_API int dhcp_snooping_mutex_unlock_func(void);

DHCP_END

#endif
