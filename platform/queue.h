/* The device's event queues: the road by which frames and port changes enter the module. */
#ifndef DHCP_PLATFORM_QUEUE_H
#define DHCP_PLATFORM_QUEUE_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

/** One event: eight words where a pointer is four bytes. */
struct DhcpEvent {
  int32_t p; /* producer's own, printed only */
  int32_t i; /* producer's own, printed only */
  uint32_t type;
  uint32_t unused[3];
  uint32_t len; /* bytes at data, for events that carry a block */
  void* data;   /* struct skpack for frame events, a block for the queue's payload type */
};

typedef struct equeue equeue_t;

/** Creates the queue. `payload_type` is the one event type whose records carry a block to be handed back.
    Null on failure. */
equeue_t* equeue_make_extend(const char* name, int entries, int arg, uint32_t payload_type);

/** Next record. 0 = nothing, -1 = the queue is closed, anything else = `out` is filled. With `wait` 1 it blocks and
    is a cancellation point. */
int equeue_recv(equeue_t* queue, struct DhcpEvent* out, int wait);

/** Hands the payload block of a record of the queue's payload type back to the queue. */
int equeue_proc_finished_data(struct DhcpEvent* event);

/** Closes the queue and frees what it still holds. */
int equeue_close(equeue_t* queue);

PLATFORM_END

#endif
