/// DHCPv6 snooping: which client holds which IPv6 address behind which port and for how long, and which DHCPv6 frames
/// may pass.
///
/// It owns the record `g_dhcp6_snooping` and everything that hangs from it: bindings, interfaces with their counters,
/// believed servers. A mutex of its own (Lock), which nobody outside sees, guards all of it and is held for a whole
/// frame, configuration call or timer round; whoever needs the IPv4 snooping lock too takes that one first. Inside it
/// the busy word of one bucket, or of the interface list, is taken only while that list is walked or changed.
///
/// A binding is always in the MAC index. It is in the (VLAN, address) index from its first REPLY on, unless another
/// client is there with the same key; whoever changes `vlan` or `ip6` of a binding takes it out of that index first.
///
/// What it shares with IPv4 snooping stands in binding/. On purpose different: no neighbour is told of a binding, a
/// newcomer never displaces the holder of an address, a static binding has its address from a REPLY, aggregation groups
/// are not listed, and the chip drops what comes for clients from untrusted ports.
///
/// Inner functions here expect the lock; all exported ones in dhcp/snooping6.h take it.
#pragma once

#include <cstdint>

#include "base/guard.h"
#include "base/ip6.h"
#include "base/vlan_set.h"
#include "binding/interfaces.h"
#include "dhcp/snooping6.h"

namespace dhcp::snooping6 {

inline constexpr const char* log_name = "dhcpc";

/// Holds the service's mutex for a scope. It may be taken again by who holds it.
class Lock {
 public:
  Lock();
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  base::CancelHold hold_;
};

using Interface = binding::Interfaces::Node;

inline constexpr binding::Interfaces interfaces(g_dhcp6_snooping.intf_list, g_dhcp6_snooping.intf_count,
                                                g_dhcp6_snooping.intf_busy);

/// By message type, 0 for those that are none of the thirteen.
using FrameCounts = base::FrameCounts<DHCP_SERVICE_SNOOPING6, DHCP_SNOOP_VERDICTS, 14>;
extern FrameCounts frame_counts;

inline bool vlan_snooped(int vlan) { return base::vlan_in(g_dhcp6_snooping.vlan_bitmap, vlan); }

/// True when servers are listed and this is none of them.
bool server_refused(const base::Ip6& ip);

/// Frees the list of servers. (servers)
void free_servers();

/// The switch without the lock. Nothing when `on` is what it is already. (configure)
void set_switch(bool on);

/// The next call of the timer only starts the clock. (ageing)
void restart_ageing();

}  // namespace dhcp::snooping6
