/// What became of the messages, by type.
#pragma once

#include <cstdint>

#include "dhcp/server6.h"

namespace dhcp::server6 {

/// `type` is the message's; any that is not one of the thirteen counts as 0.
void count_verdict(Dhcp6ServerVerdict verdict, uint8_t type);

}  // namespace dhcp::server6
