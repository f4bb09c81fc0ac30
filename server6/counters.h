/// What became of the messages, by type.
#pragma once

#include "base/frame_counts.h"
#include "dhcp/server6.h"

namespace dhcp::server6 {

/// By the message's type, as a relay carried it.
using FrameCounts = base::FrameCounts<DHCP_SERVICE_SERVER6, DHCP6S_VERDICTS, 14>;
extern FrameCounts frame_counts;

}  // namespace dhcp::server6
