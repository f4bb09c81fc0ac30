/// What a pool keeps back from being handed out freely.
#pragma once

#include "server6/server6.h"

namespace dhcp::server6 {

bool excluded(const Dhcp6Pool& pool, const Ip6& ip);

/// The static host that holds `ip`, or null.
const Dhcp6StaticHost* host_with(const Dhcp6Pool& pool, const Ip6& ip);

}  // namespace dhcp::server6
