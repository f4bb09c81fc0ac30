/// Which services are on, each answered by the service that owns the switch. Nobody includes a service to learn this.
#pragma once

namespace dhcp::base {

bool snooping_on();
bool relay_on();
bool server_on();
bool snooping6_on();
bool relay6_on();
bool server6_on();

}  // namespace dhcp::base
