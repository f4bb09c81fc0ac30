/* The device's log and trace. */
#ifndef DHCP_PLATFORM_LOG_H
#define DHCP_PLATFORM_LOG_H

#include "platform/decls.h"

PLATFORM_BEGIN

/** One log line. `level` as in syslog (7 = debug); `module` and `name` say who speaks. */
int Log_logging_func(int level, int module, const char* name, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

/** Non-zero while trace records are wanted. */
int sys_trace_get(void);

/** Keeps one trace record; both texts are at most 1023 characters and are copied. */
int sys_trace_add_log(const char* location, const char* message);

PLATFORM_END

#endif
