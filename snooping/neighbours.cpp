/// Bindings for the device's other guards: IP source guard, the ARP module and IGMP snooping.
///
/// Source guard and ARP hear of every binding that enters or leaves the address index; all of them can ask for the
/// whole table when they are switched on or off.
#include <array>
#include <cstring>

#include "base/log.h"
#include "platform/security.h"
#include "snooping/bindings.h"

namespace dhcp::snooping {

namespace {

constexpr uint8_t from_snooping = 2;  // type of every ARP entry made here
constexpr int source_guard_not_set = -144;
constexpr int any_interface = -1;

// Where the ARP module's switches stand in its record.
constexpr size_t arp_check_switch = 1, arp_fallback_word = 2104, arp_check_per_port = 2125;

bool arp_check_everywhere() { return arpr_cfg[arp_check_switch] == 1; }
bool arp_check_by_port() { return arpr_cfg[arp_check_per_port] == 1; }

/// A fixed ARP entry stands in when the ARP-check list refuses.
bool arp_fallback() {
  uint32_t word = 0;
  memcpy(&word, arpr_cfg + arp_fallback_word, sizeof word);
  return word == 1;
}

ipsg_entry guard_entry(const MacBindStruct& binding) {
  ipsg_entry entry{};
  entry.ip = binding.ip;
  memcpy(entry.mac, binding.mac, sizeof entry.mac);
  entry.vlan = static_cast<uint16_t>(binding.vlan);
  entry.intf = binding.intf;
  entry.lease = binding.lease;
  return entry;
}

arp_entry fixed_entry(const MacBindStruct& binding) {
  arp_entry entry{};
  entry.ip = binding.ip;
  memcpy(entry.mac, binding.mac, sizeof entry.mac);
  entry.type = from_snooping;
  entry.intf = binding.intf;
  entry.lease = binding.lease;
  return entry;
}

int add_checked(const MacBindStruct& binding) {
  return sync_add_arp_check_entry(binding.mac, binding.ip, binding.intf, from_snooping);
}

/// Whether the ARP-check list wants this binding: in per-port mode its port decides, and nothing else.
bool arp_checked(const MacBindStruct& binding) {
  if (arp_check_by_port()) return arp_get_check_port_status(binding.intf) != 0;
  return arp_check_everywhere();
}

constexpr const char* no_binding = "MacBindStruct node error !\n";

/// Logs in the name of the exported function. Always -1.
int complain(const char* function, const char* text) {
  DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcpc", "[%s:%d]%s", function, __LINE__, text);
  return -1;
}

/// Calls `tell` for every bound entry, under the snooping lock.
template <class Tell>
int tell_all(Tell tell) {
  const SnoopingLock lock;
  bindings.each_bound(tell);
  return 0;
}

}  // namespace

void tell_neighbours_entered(MacBindStruct& binding) {
  sync_add_ipsg_entry(&binding);
  if (!arp_checked(binding)) return;
  if (add_checked(binding) < 0 && arp_fallback()) sync_add_arp_entry(&binding);
}

/// The ARP-check entry stays: only dhcp_snooping_snyc_del_arp_check() removes those.
void tell_neighbours_left(MacBindStruct& binding) {
  sync_del_ipsg_entry(&binding);
  sync_del_arp_entry(&binding);
}

}  // namespace dhcp::snooping

using namespace dhcp;
using namespace dhcp::snooping;

int sync_add_ipsg_entry(MacBindStruct* bind) {
  if (bind == nullptr) return complain(__func__, no_binding);
  const ipsg_entry entry = guard_entry(*bind);
  const int result = add_port_ipsg_entry(&entry);
  if (result >= 0) return result;
  return complain(
      __func__, result == source_guard_not_set ? "Warning:IP source guard is not set !\n" : "set_ipsg_entry fail !\n");
}

int sync_del_ipsg_entry(MacBindStruct* bind) {
  if (bind == nullptr) return complain(__func__, no_binding);
  const ipsg_entry entry = guard_entry(*bind);
  const int result = del_port_ipsg_entry(&entry);
  return result >= 0 ? result : complain(__func__, "del_ipsg_entry fail !\n");
}

int sync_add_arp_entry(MacBindStruct* bind) {
  if (bind == nullptr) return complain(__func__, no_binding);
  const arp_entry entry = fixed_entry(*bind);
  const int result = arp_add_entry_to_list(&entry);
  return result >= 0 ? result : complain(__func__, "arp_add_entry_to_list fail !\n");
}

/// Called for every binding that leaves, although few have an entry: its complaint is ordinary.
int sync_del_arp_entry(MacBindStruct* bind) {
  if (bind == nullptr) return complain(__func__, no_binding);
  const arp_entry entry = fixed_entry(*bind);
  const int result = arp_del_entry_to_list(&entry);
  return result >= 0 ? result : complain(__func__, "arp_del_entry_to_list fail !\n");
}

int dhcp_snooping_snyc_adddel_arp_check_by_mac_node(int add) {
  return tell_all([add](MacBindStruct& binding) {
    if (add != 0) {
      sync_add_arp_entry(&binding);
    } else {
      sync_del_arp_entry(&binding);
    }
  });
}

int dhcp_snooping_snyc_del_arp_check(int intf) {
  return tell_all([intf](const MacBindStruct& binding) {
    if (intf == any_interface || binding.intf == static_cast<uint32_t>(intf)) {
      sync_del_arp_check_entry(binding.mac, binding.ip, binding.intf);
    }
  });
}

int dhcp_snooping_snyc_add_to_arp_check() {
  return tell_all([](const MacBindStruct& binding) { add_checked(binding); });
}

int dhcp_snooping_snyc_add_to_igsp() {
  return tell_all([](const MacBindStruct& binding) {
    sync_add_igsp_entry(binding.mac, binding.ip, binding.intf, binding.vlan, binding.lease);
  });
}
