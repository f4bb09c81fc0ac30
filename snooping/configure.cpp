/// The service's switch, its VLANs, the packet limit, the list of servers.
#include "base/vlan_set.h"

#include "base/log.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "platform/adp.h"
#include "snooping/snooping.h"

using dhcp::base::module_service;
using dhcp::snooping::SnoopingLock;

namespace dhcp::snooping {

/// Relay and server need the chip rules as well: whoever of the three is on alone installs and removes them.
int __set_dhcp_snoop_switch(int on) {
  const int wanted = on != 0 ? 1 : 0;
  if (wanted == g_dhcp_snooping.enable) return 0;
  const bool rules_are_ours = !base::relay_on() && !base::server_on();
  if (wanted != 0) {
    if (rules_are_ours) open_dhcp_cpu();
    DHCP_LOG_AT(module_service, "DHCPS_open", "open dhcp snooping function");
  } else {
    if (rules_are_ours) close_dhcp_cpu();
    DHCP_LOG_AT(module_service, "DHCPS_close", "close dhcp snooping function");
  }
  g_dhcp_snooping.enable = wanted;
  return 0;
}

int apply_packet_limit(int pps) {
  constexpr int protocol_dhcp = 1;
  int cpu_queue = 0;
  if (user_cosq_mapping_get(protocol_dhcp, &cpu_queue) < 0) return -1;
  return user_rx_cos_rate_set(cpu_queue, pps) < 0 ? -1 : 0;
}

}  // namespace dhcp::snooping

int set_dhcp_snoop_switch(int on) {
  const SnoopingLock lock;
  return dhcp::snooping::__set_dhcp_snoop_switch(on);
}

int get_dhcp_snoop_switch(int* out) {
  *out = g_dhcp_snooping.enable;
  return 0;
}

/// A VLAN that the device no longer has can still be taken out.
int set_dhcp_snoop_vlan(int add, int vlan) {
  using namespace dhcp;
  const SnoopingLock lock;
  const bool in_range = vlan >= base::first_vlan && vlan <= base::last_vlan;
  if (!in_range || (add != 0 && !base::vlan_exists(vlan))) {
    DHCP_LOG_AT(module_service, "DHCPS_vlan", "the vlan:%d is invalid,please add vlanid in vlan cmd", vlan);
    return base::bad_vlan;
  }
  base::vlan_put(g_dhcp_snooping.vlan_bitmap, vlan, add != 0);
  DHCP_LOG_AT(module_service, "DHCPS_vlan", "%s dhcp snooping vlan %d", add != 0 ? "add" : "del", vlan);
  return 0;
}

int set_dhcp_snoop_limit(int pps) {
  if (pps < 0) return -1;
  const SnoopingLock lock;
  g_dhcp_snooping.limit = pps;
  const int result = dhcp::snooping::apply_packet_limit(pps);
  DHCP_LOG_AT(module_service, "DHCPS_limit", "set dhcp snooping limit:%d", pps);
  return result;
}

int set_dhcp_snoop_serverip(int add, uint32_t ip) {
  const SnoopingLock lock;
  int result = 0;
  if (add != 0) {
    if (find_DhcpServerInfo(ip, 1) == nullptr) return -1;
  } else {
    result = delete_DhcpServerInfo(ip);
  }
  DHCP_LOG_AT(module_service, "DHCPS_serverip", "%s the serverip:0x%x", add != 0 ? "add" : "del", ip);
  return result;
}
