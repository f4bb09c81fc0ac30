/// What a service manager is told of the switch's life.
#pragma once

#include <string_view>

namespace dhcp::softswitch {

/// Sends a state ("READY=1", "STOPPING=1", see sd_notify(3)) to the socket that NOTIFY_SOCKET names, a path or, behind
/// "@", an abstract name. Nothing where nobody asks for it.
void tell_service_manager(std::string_view state);

}  // namespace dhcp::softswitch
