/// What the client has sent, and what became of what it received.
#pragma once

#include "base/frame_counts.h"
#include "dhcp/client6.h"
#include "packet/message6.h"

namespace dhcp::client6 {

/// Of what was received.
using FrameCounts = base::FrameCounts<DHCP_SERVICE_CLIENT6, DHCP6C_VERDICTS, 14>;
extern FrameCounts frame_counts;

void count_sent(packet::MessageType6 type);
void count_not_sent();

}  // namespace dhcp::client6
