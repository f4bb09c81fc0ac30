/// Addresses that a client found in use by somebody else: the list `dhcps_cfg.conflicts`, and an index by address.
///
/// Every record on the list is made by dhcp_add_conflict_ip() and ended here.
#pragma once

#include "server/server.h"

namespace dhcp::server {

/// True when `ip` is on the list. Takes the conflicts' word.
bool in_conflict(uint32_t ip);

/// Takes a conflict off the list and frees it; its address may be handed out again. The caller holds the conflicts'
/// word.
void delete_conflict(DhcpConflictIp& conflict);

/// The same for all of them.
void delete_all_conflicts();

}  // namespace dhcp::server
