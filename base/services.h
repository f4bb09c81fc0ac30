/// Which services are on, each answered by the service that owns the switch. Nobody includes a service to learn this.
#pragma once

namespace dhcp::base {

bool snooping_on();
bool relay_on();
bool server_on();

}  // namespace dhcp::base
