/// What the client has sent, and what became of what it received.
#pragma once

#include "dhcp/client6.h"
#include "packet/message6.h"

namespace dhcp::client6 {

void count_received(Dhcp6cVerdict verdict);
void count_sent(packet::MessageType6 type);
void count_not_sent();

}  // namespace dhcp::client6
