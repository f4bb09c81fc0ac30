/* The device's task service: it creates, names and ends the threads that run the module's tasks. */
#ifndef DHCP_PLATFORM_TASK_H
#define DHCP_PLATFORM_TASK_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

/** One row of a task table: 15 words where a pointer is four bytes. `tid` 0xFFFFFFFF = not running. */
struct ModuleTaskEntry {
  const char* name;
  uint32_t tid;                              /* written by the service: an id when started, 0xFFFFFFFF when stopped */
  int (*init)(void);                         /* called by the service before entry */
  int (*entry)(struct ModuleTaskEntry* row); /* the task's body, run on a thread of its own */
  uint32_t w5;                               /* 0x01000000, the service's own */
  uint32_t w6[5];                            /* 0 */
  uint32_t w7;                               /* 1, the service's own */
  uint32_t w8[2];                            /* 0 */
  int32_t pid;                               /* stored by the entry function as its first action */
  uint32_t last;                             /* 0 */
};

/** Calls init(), starts a thread with entry(row), writes tid; waits for the task's notice or the return of entry.
    `flag` is 0. A negative result means that the task was not started (tid stays 0xFFFFFFFF). */
int stask_start(struct ModuleTaskEntry* row, int flag);

/** Deferred cancel, then join; tid becomes 0xFFFFFFFF. The caller must not hold a lock that the task waits for. */
int stask_stop(struct ModuleTaskEntry* row);

/** Called by the task itself once it is ready (result 0) or has failed to become so (negative). */
int stask_notify_creater(struct ModuleTaskEntry* row, int result);

PLATFORM_END

#endif
