/// The service's switch, its VLANs, servers and static bindings.
#include "base/log.h"
#include "base/os.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "snooping6/bindings.h"

using namespace dhcp;
using base::module_frame;
using snooping6::log_name;

namespace {

/// Makes the client's binding a static one, whatever it was. An address that it has on this VLAN as a static one it
/// keeps; any other comes with its next REPLY.
int add_static(const uint8_t* mac, uint32_t intf, int vlan, int lease_s) {
  MacBind6Struct* binding = snooping6::bindings.find_or_create(mac);
  if (binding == nullptr) return -1;
  if (binding->is_static == 0 || binding->vlan != vlan) snooping6::set_address(*binding, {});
  snooping6::bindings.leave_address(*binding);
  binding->state = binding::bound;
  binding->is_static = 1;
  binding->lease = lease_s;
  binding->vlan = binding->new_vlan = vlan;
  binding->intf = binding->new_intf = intf;
  binding->time = static_cast<int32_t>(base::now32());
  if (!snooping6::BindingRules::address(*binding).is_zero()) snooping6::bindings.enter_address(*binding);
  return 0;
}

}  // namespace

/// Relay and server need the CPU rules as well: whoever of the three is on alone installs and removes them. The rule
/// for untrusted ports is snooping's own.
void snooping6::set_switch(bool on) {
  if (on == base::snooping6_on()) return;
  const bool rules_are_ours = !base::relay6_on() && !base::server6_on();
  if (on) {
    if (rules_are_ours) open_dhcp6_cpu();
    DHCP_LOG_AT(module_frame, log_name, "open,open dhcp snooping function");
    set_dhcp6_snoop_trust_rule();
  } else {
    if (rules_are_ours) close_dhcp6_cpu();
    DHCP_LOG_AT(module_frame, log_name, "close,close dhcp snooping function");
    del_dhcp6_notrust_port_acl_rule();
  }
  g_dhcp6_snooping.enable = on ? 1 : 0;
}

int set_dhcp6_snoop_switch(int on) {
  const snooping6::Lock lock;
  snooping6::set_switch(on != 0);
  return 0;
}

int get_dhcp6_snoop_switch(int* out) {
  *out = g_dhcp6_snooping.enable;
  return 0;
}

int set_dhcp6_snoop_vlan(int add, int vlan) {
  const snooping6::Lock lock;
  if (!base::vlan_exists(vlan)) {
    DHCP_LOG_AT(module_frame, log_name, "vlan,the vlan:%d is invalid,please add vlanid in vlan cmd", vlan);
    return base::bad_vlan;
  }
  base::vlan_put(g_dhcp6_snooping.vlan_bitmap, vlan, add != 0);
  DHCP_LOG_AT(module_frame, log_name, "vlan,%s dhcpv6 snooping vlan %d", add != 0 ? "add" : "del", vlan);
  return 0;
}

/// The line has room for 32 bits of an address: the last ones, by which servers differ.
int set_dhcp6_snoop_serverip(int add, const uint8_t* ip6) {
  const snooping6::Lock lock;
  if (add == 0) {
    delete_Dhcp6ServerInfo(ip6);
  } else if (find_Dhcp6ServerInfo(ip6, 1) == nullptr) {
    return -1;
  }
  DHCP_LOG_AT(module_frame, log_name, "serverip,%s the serverip:0x%x", add != 0 ? "add" : "del",
              base::Ip6::from(ip6).last32());
  return 0;
}

int set_dhcp6_snoop_bind(int add, const uint8_t* mac, uint32_t intf, int vlan, int lease_s) {
  const snooping6::Lock lock;
  if (add == 0) {
    del_MacBind6Struct(mac);
    DHCP_LOG_AT(module_frame, log_name, "bind,del the dhcpv6 snooping bind node:mac %02x:%02x:%02x:%02x:%02x:%02x",
                mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return 0;
  }
  if (!base::vlan_exists(vlan) || snooping6::interfaces.find(intf) == nullptr) return base::bad_vlan;
  if (add_static(mac, intf, vlan, lease_s) != 0) return -1;
  DHCP_LOG_AT(
      module_frame, log_name,
      "bind,add the static dhcpv6 snooping bind node:mac %02x:%02x:%02x:%02x:%02x:%02x,port:%d,vlan:%d,lease:%d",
      mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], static_cast<int>(intf), vlan, lease_s);
  return 0;
}
