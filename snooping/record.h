/// Whether the service has begun.
#pragma once

namespace dhcp::snooping {

/// True from init_dhcp_snooping() to exit_dhcp_snooping().
bool initialised();

}  // namespace dhcp::snooping
