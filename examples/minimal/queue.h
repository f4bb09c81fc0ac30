/* The device's side of the event queue. */
#ifndef EXAMPLE_QUEUE_H
#define EXAMPLE_QUEUE_H

#include "platform/queue.h"

/* The type by which the module knows a frame of DHCPv4; 4 is one of DHCPv6, and port changes have a third. */
enum { EVENT_IPV4_FRAME = 1 };

/* 0, or -1 when the queue is full or the module does not run; the event's data stay the caller's then. */
int example_post(const struct DhcpEvent* event);

#endif
