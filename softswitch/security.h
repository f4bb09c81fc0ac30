/// The tables of DHCP's neighbours: IP source guard, ARP checking, fixed ARP entries, IGMP snooping.
///
/// What the module says is kept and can be read back here. Guarded by a lock of its own; nothing is called under it.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/security.h"

namespace dhcp::softswitch {

struct ArpCheckEntry {
  uint32_t ip = 0, intf = 0;
  uint8_t mac[6] = {};
  int type = 0;  // 2 = from DHCP snooping
};

struct IgmpEntry {
  uint32_t ip = 0, intf = 0;
  uint8_t mac[6] = {};
  int vlan = 0, lease = 0;
};

std::vector<ipsg_entry> source_guard_entries();
std::vector<arp_entry> fixed_arp_entries();
std::vector<ArpCheckEntry> arp_check_entries();
std::vector<IgmpEntry> igmp_entries();
std::vector<uint32_t> known_interfaces();  // what port changes have told IP source guard

/// Switches of the operator: source guard and ARP checking on an interface.
void set_source_guard(uint32_t intf, bool on);
void set_arp_check(uint32_t intf, bool on);

}  // namespace dhcp::softswitch
