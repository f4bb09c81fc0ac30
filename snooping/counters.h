/// What became of the frames, and who was seen playing the server where none may stand.
#pragma once

#include "packet/frame4.h"
#include "snooping/snooping.h"

namespace dhcp::snooping {

/// By message type: option 53, 0 when there is none.
using FrameCounts = base::FrameCounts<DHCP_SERVICE_SNOOPING, DHCP_SNOOP_VERDICTS, 9>;
extern FrameCounts frame_counts;

/// Remembers the sender of a server's message that came in where no server may stand, and warns of it.
void note_rogue(const packet::Frame4& frame, int vlan);
/// The last one seen; `time` 0 = none.
const DhcpSnoopRogue& last_rogue();

}  // namespace dhcp::snooping
