/// What the operator says about single clients: verification of source MACs, static bindings.
#include "base/log.h"
#include "base/os.h"
#include "base/text.h"
#include "base/vlan_set.h"
#include "snooping/snooping.h"

using dhcp::base::module_service;
using dhcp::snooping::SnoopingLock;

namespace {

/// Makes the client's binding a static one, whatever it was. Its VLAN and address are keys, so it leaves their index
/// first.
int add_static(const uint8_t* mac, uint32_t ip, uint32_t intf, int vlan, int lease_s) {
  MacBindStruct* binding = find_MacBindStruct(mac, 1);
  if (binding == nullptr) return -1;
  del_VlanIp_table(binding);
  binding->state = dhcp::snooping::state_bound;
  binding->is_static = 1;
  binding->vlan = binding->new_vlan = vlan;
  binding->intf = binding->new_intf = intf;
  binding->ip = ip;
  binding->lease = lease_s;
  binding->time = static_cast<int32_t>(dhcp::base::now32());
  if (ip != 0) insert_VlanIp_table(binding);
  dhcp::snooping::set_bind_changed();
  return 0;
}

}  // namespace

int set_dhcp_snoop_verify(int on) {
  const SnoopingLock lock;
  g_dhcp_snooping.verify_enable = on != 0 ? 1 : 0;
  DHCP_LOG_AT(module_service, "DHCPS_verify", "%s dhcp snooping verify function", on != 0 ? "open" : "close");
  return 0;
}

int set_dhcp_snoop_verify_mac(int add, const uint8_t* mac, int mode) {
  const SnoopingLock lock;
  if (add == 0) return del_MacVerifyStruct(mac);
  MacVerifyStruct* entry = find_MacVerifyStruct(mac, 1);
  if (entry == nullptr) return -1;
  entry->mode = mode;
  return 0;
}

int set_dhcp_snoop_bind(int add, const uint8_t* mac, uint32_t ip, uint32_t intf, int vlan, int lease_s) {
  const SnoopingLock lock;
  if (add != 0 && !dhcp::base::vlan_exists(vlan)) return dhcp::base::bad_vlan;
  const int result = add != 0 ? add_static(mac, ip, intf, vlan, lease_s) : del_MacBindStruct(mac, intf);
  if (result != 0) return result;
  if (add != 0) {
    DHCP_LOG_AT(module_service, "DHCPS_bind",
                "add the static dhcp snooping bind node:mac %02x:%02x:%02x:%02x:%02x:%02x,ip:%s,port:%d,vlan:%d,"
                "lease:%d",
                mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], dhcp::base::IpText(ip).c_str(), static_cast<int>(intf),
                vlan, lease_s);
  } else {
    DHCP_LOG_AT(module_service, "DHCPS_bind", "del the dhcp snooping bind node:mac %02x:%02x:%02x:%02x:%02x:%02x",
                mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  }
  return 0;
}
