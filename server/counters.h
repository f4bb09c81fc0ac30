/// What became of the messages, by type: option 53, 0 when there is none.
#pragma once

#include "base/frame_counts.h"
#include "dhcp/server.h"

namespace dhcp::server {

using FrameCounts = base::FrameCounts<DHCP_SERVICE_SERVER, DHCPS_VERDICTS, 9>;
extern FrameCounts frame_counts;

}  // namespace dhcp::server
