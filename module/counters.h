/// Frames that no service was asked for.
#pragma once

#include "base/frame_counts.h"

namespace dhcp::module {

using DispatchCounts = base::FrameCounts<DHCP_SERVICE_DISPATCH, DHCP_DISPATCH_VERDICTS, 1>;
extern DispatchCounts dispatch_counts;

}  // namespace dhcp::module
