/// Which thread empties the event queue.
#pragma once

namespace dhcp::softswitch {

/// True on the thread that receives events: what it sends may wait until it comes back for the next one.
bool drains_queue();

}  // namespace dhcp::softswitch
