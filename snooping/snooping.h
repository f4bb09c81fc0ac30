/// IPv4 snooping: which client holds which address behind which port and for how long, and which DHCP frames may pass.
///
/// It owns the record `g_dhcp_snooping` and everything that hangs from it: bindings, interfaces, counts,
/// believed servers, MACs exempt from verification, option 82 settings. The snooping semaphore (SnoopingLock) guards
/// all of it and is held for a whole frame, configuration call, port change or timer round. Inside it the busy word of
/// one bucket, or of the interface list, is taken only while that list is walked or changed; no two at once, but for
/// the neighbours' calls, which run under the word of the (VLAN, address) bucket. Platform calls made under the lock
/// never come back into the module.
///
/// A binding is always in the MAC index. It is in the (VLAN, address) index while bound with a VLAN and an address;
/// whoever changes `vlan` or `ip` of a binding takes it out of that index first (del_VlanIp_table, harmless when it is
/// not in it) and enters it again (insert_VlanIp_table), because both fields are its key there.
///
/// Inner functions here expect the lock; the exported ones in dhcp/snooping.h say what they take.
#pragma once

#include <cstdint>

#include "base/guard.h"
#include "base/vlan_set.h"
#include "binding/interfaces.h"
#include "dhcp/snooping.h"

namespace dhcp::snooping {

inline constexpr int untagged_vlan = 65535;  // of a frame without a tag; never a snooping VLAN
inline constexpr int state_learning = 0, state_bound = 1;
inline constexpr int verify_as_any_other = 1;  // MacVerifyStruct::mode; any other value exempts the MAC

/// Holds the snooping lock for a scope, with the two log lines that go with it.
class SnoopingLock {
 public:
  SnoopingLock();

 private:
  base::SemaphoreGuard guard_;
};

using IntfNode = binding::Interfaces::Node;

inline constexpr binding::Interfaces interfaces(g_dhcp_snooping.intf_list, g_dhcp_snooping.intf_count,
                                                g_dhcp_snooping.intf_busy);

/// True when the VLAN is in the snooping set; false for every number that is no VLAN.
inline bool vlan_snooped(int vlan) { return base::vlan_in(g_dhcp_snooping.vlan_bitmap, vlan); }

/// Says that bindings have changed, so that the cyclic write has something to save.
void set_bind_changed();

/// The switch without the lock: chip rules, log, `enable`. Nothing when `on` is what it is already. (configuration)
int __set_dhcp_snoop_switch(int on);

/// Tells the chip the packet limit, 0 = none. 0, or -1 when it refuses. (configuration)
int apply_packet_limit(int pps);

/// Frees the settings of every VLAN; the list is empty afterwards. (option 82)
void free_sub_options();

/// Forgets the last rogue server seen. (counters)
void forget_rogue();

}  // namespace dhcp::snooping
