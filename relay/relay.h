/// The IPv4 relay: its record, the ports on which it floods, and the small ticker that stands beside it.
///
/// It owns `dhcpr_cfg`. The port list is guarded by the record's reader/writer word `port_users`; changes arrive under
/// the snooping lock, one at a time.
#pragma once

#include "dhcp/relay.h"
