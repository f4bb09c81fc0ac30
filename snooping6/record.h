/// Whether the service has begun.
#pragma once

namespace dhcp::snooping6 {

/// True from init_dhcp6_snooping() to exit_dhcp6_snooping().
bool initialised();

}  // namespace dhcp::snooping6
