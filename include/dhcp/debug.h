/* Watching the frames: one decoded line for each that comes to the module or leaves it. */
#ifndef DHCP_DEBUG_H
#define DHCP_DEBUG_H

#include "dhcp/types.h"

DHCP_BEGIN

/** Takes one line without a line end, on the task that handles the frame, maybe under a service's lock: it must not
   call the module. The text is the caller's. */
typedef void (*DhcpFrameSink)(const char* line);

/** Watches from the next frame on; null = no more. A frame in hand may still be told of afterwards.

    "in Gi1 vlan 10 MAC > MAC ADDRESS > ADDRESS DISCOVER xid 1a000001 ... -- server: offered": where it came in, what it
    is, and behind "--" each service that was asked, with the reason under which it is counted (dhcp/counters.h). What
   was sent for it follows: "out Gi1 vlan 10 ...", or "out all" to all ports of the VLAN. */
DHCP_API void dhcp_watch_frames(DhcpFrameSink sink);

DHCP_END

#endif
