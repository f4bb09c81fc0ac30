/// Addresses that a client found in use by somebody else: the list `dhcp6s_cfg.conflicts`.
#pragma once

#include "server6/server6.h"

namespace dhcp::server6 {

/// True when `ip` is on the list. Takes the conflicts' word.
bool in_conflict(const Ip6& ip);

/// Takes `ip` off the list, if it is there; the whole list is emptied, or rid of what is older than a day. Each takes
/// the conflicts' word.
void delete_conflict(const Ip6& ip);
void delete_all_conflicts();
void expire_conflicts(uint32_t now);

}  // namespace dhcp::server6
