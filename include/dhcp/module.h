/* The module's life: what the device's management process calls once the library is loaded. */
#ifndef DHCP_MODULE_H
#define DHCP_MODULE_H

#include "dhcp/types.h"

DHCP_BEGIN

/** Once after loading, and again before a start that follows a stop. 0, or -1 with nothing left behind. */
DHCP_API int dhcp_module_init(void);
/** Starts the six tasks in table order. Always 0: a task that fails stops the module, then the rest still start. */
DHCP_API int dhcp_module_start(void);
/** Stops the tasks and tears snooping and the relay down. 0. */
DHCP_API int dhcp_module_stop(void);
/** Prints the running tasks on standard output. 0. */
DHCP_API int dhcp_module_list(void);

/** Tells every service of port changes: words 0-7 added, 8-15 removed interfaces, each list ended by a zero word;
    24 host-order words. Returns the result of releasing the snooping lock. */
DHCP_API int notice_port_change_to_dhcp(const uint32_t ports[24]);

/** Dotted text of a host-order IPv4 address, in a buffer of the calling thread's. */
DHCP_API char* util_ip2str(uint32_t addr);

/* The dispatch task's own functions, run by the task service. */
DHCP_API int dhcpr_task_init(void);
DHCP_API int dhcpr_task_entry(struct ModuleTaskEntry* row);
DHCP_API void routine_cleanup_dhcp(void* queue);

DHCP_END

#endif
