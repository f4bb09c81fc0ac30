/// Clearing of bindings and counters.
#include "base/log.h"
#include "binding/clears.h"
#include "snooping6/bindings.h"

using namespace dhcp;
using snooping6::Lock;

namespace {

int clear(unsigned keys, const binding::Wanted<base::Ip6>& wanted) {
  const Lock lock;
  binding::erase_matching(snooping6::bindings, keys, wanted);
  DHCP_LOG_AT(base::module_frame, snooping6::log_name, "clear,clear dhcp snooping binding");
  return 0;
}

base::Ip6 ip_or_zeros(const uint8_t* ip6) { return ip6 != nullptr ? base::Ip6::from(ip6) : base::Ip6{}; }

}  // namespace

int dhcp6_snooping_binding_clear(int type, const uint8_t* ip6, const uint8_t* mac, int vlan, uint32_t intf) {
  if (type < 0 || static_cast<size_t>(type) >= binding::key_sets.size()) return 0;
  return clear(binding::key_sets[static_cast<size_t>(type)],
               {ip_or_zeros(ip6), binding::mac_or_zeros(mac), vlan, intf});
}

int dhcp6_snooping_binding_clear_action(const uint8_t* mac, const int* vlan, const uint32_t* intf, const uint8_t* ip6,
                                        int dynamic_only) {
  const unsigned keys = (ip6 != nullptr ? binding::by_ip : 0U) | (mac != nullptr ? binding::by_mac : 0U) |
                        (vlan != nullptr ? binding::by_vlan : 0U) | (intf != nullptr ? binding::by_intf : 0U) |
                        (dynamic_only != 0 ? binding::dynamic_only : 0U);
  return clear(
      keys, {ip_or_zeros(ip6), binding::mac_or_zeros(mac), vlan != nullptr ? *vlan : 0, intf != nullptr ? *intf : 0});
}

int dhcp6_snooping_statistics_clear(uint32_t intf) {
  const Lock lock;
  binding::clear_counts(snooping6::frame_counts.view(), snooping6::interfaces, intf);
  return 0;
}
