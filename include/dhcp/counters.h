/* What became of the frames, in every service: how many, by interface, message type and reason.

   A frame that reaches a service meets exactly one fate there. It may meet one in several services: what snooping
   passes on is counted by the relay or the server, too. Counting is one relaxed increment a frame and no lock; every
   call here may come from any thread at any time. */
#ifndef DHCP_COUNTERS_H
#define DHCP_COUNTERS_H

#include "dhcp/types.h"

DHCP_BEGIN

enum DhcpService {
  DHCP_SERVICE_DISPATCH, /* what no service was asked for */
  DHCP_SERVICE_SNOOPING,
  DHCP_SERVICE_RELAY,
  DHCP_SERVICE_SERVER,
  DHCP_SERVICE_SNOOPING6,
  DHCP_SERVICE_RELAY6,
  DHCP_SERVICE_SERVER6,
  DHCP_SERVICE_CLIENT6,
  DHCP_SERVICES
};

/** Why no service saw a frame. */
enum DhcpDispatchVerdict {
  DHCP_DISPATCH_UNUSABLE,   /* the device could not ready it */
  DHCP_DISPATCH_NO_SERVICE, /* none is on for it */
  DHCP_DISPATCH_FOR_DEVICE, /* to the device's own MAC, with snooping on and the relay off */
  DHCP_DISPATCH_VERDICTS
};

/** One count that is not 0. */
struct DhcpCounter {
  uint32_t
      intf; /* interface word that the frames came in on; 0 = one that is not listed, or beyond port 63, group 16 */
  uint32_t count;  /* since the start or the last clear, modulo 2^32 */
  uint8_t service; /* enum DhcpService */
  uint8_t type;    /* DHCP or DHCPv6 message type by the service's family; 0 = none, or none of the known ones */
  uint8_t reason;  /* the service's own verdict: enum DhcpSnoopVerdict of both snoopings, DhcpRelayVerdict, ... */
};

/** Copies the first `room` counts, by service, interface, reason and type, and returns how many there are, which may be
    more. Each count is exact; frames that are handled meanwhile may be in it or not. `out` may be null with `room` 0.
 */
DHCP_API int dhcp_get_counters(struct DhcpCounter* out, int room);
/** Begins counting again in all services, those of the services' own readouts included. */
DHCP_API void dhcp_clear_counters(void);

/* Lower-case words for displays and labels; a message type in capitals, "other" for 0. Never null. */
DHCP_API const char* dhcp_service_name(int service);
DHCP_API const char* dhcp_reason_name(int service, int reason);
DHCP_API const char* dhcp_message_type_name(int service, int type);

DHCP_END

#endif
