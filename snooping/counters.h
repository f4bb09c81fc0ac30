/// What became of the frames, and who was seen playing the server where none may stand.
#pragma once

#include "packet/frame4.h"
#include "snooping/snooping.h"

namespace dhcp::snooping {

/// Counts one frame's fate. `port` is null for a frame from an interface that is not listed; `type` is option 53, 0
/// when there is none.
void count_verdict(IntfNode* port, DhcpSnoopVerdict verdict, int type);

/// A frame without headers ends before the lock is taken, so this count stands apart.
void count_headerless();

/// Counters of the frames that came from no listed interface, or had no headers: shown as interface 0.
void clear_unlisted_counters();

/// Remembers the sender of a server's message that came in where no server may stand, and warns of it.
void note_rogue(const packet::Frame4& frame, int vlan);
/// The last one seen; `time` 0 = none.
const DhcpSnoopRogue& last_rogue();

}  // namespace dhcp::snooping
