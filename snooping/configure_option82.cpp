/// The operator's settings of option 82.
#include "base/log.h"
#include "snooping/option82.h"
#include "snooping/snooping.h"

using dhcp::base::module_service;
using dhcp::snooping::SnoopingLock;
using dhcp::snooping::SubOption;

namespace {

constexpr const char* log_name = "DHCPS_option82";

int number(SubOption type) { return static_cast<int>(type); }
const char* shown(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

int set_dhcp_snoop_option82_circuit_id(int add, int vlan, int id, const char* string) {
  const SnoopingLock lock;
  if (add == 0) {
    DHCP_LOG_AT(module_service, log_name, "del circuit string from_vlan :%d", vlan);
    return del_SUB_OPTION(vlan, number(SubOption::circuit_id));
  }
  DHCP_LOG_AT(module_service, log_name, "add circuit_id:%d ascii_string:%s from_vlan :%d", id, shown(string), vlan);
  return add_SUB_OPTION(vlan, 0, id, string, nullptr, number(SubOption::circuit_id));
}

int set_dhcp_snoop_option82_remote_id(int add, int vlan, int id, const char* string) {
  const SnoopingLock lock;
  if (add == 0) {
    DHCP_LOG_AT(module_service, log_name, "del remote string from vlan :%d", vlan);
    return del_SUB_OPTION(vlan, number(SubOption::remote_id));
  }
  DHCP_LOG_AT(module_service, log_name, "add remote id:%d string:%s from vlan :%d", id, shown(string), vlan);
  return add_SUB_OPTION(vlan, 0, id, nullptr, string, number(SubOption::remote_id));
}

int set_dhcp_snoop_option82_ip(int add, int vlan, uint32_t ip) {
  const SnoopingLock lock;
  if (add == 0) {
    DHCP_LOG_AT(module_service, log_name, "del ip addr from vlan %d", vlan);
    return del_SUB_OPTION(vlan, number(SubOption::link_selection));
  }
  DHCP_LOG_AT(module_service, log_name, "add ip addr:0x%x from vlan %d", ip, vlan);
  return add_SUB_OPTION(vlan, ip, 0, nullptr, nullptr, number(SubOption::link_selection));
}

int set_dhcp_snoop_option82_switch(int on) {
  const SnoopingLock lock;
  g_dhcp_snooping.option82_enable = on != 0 ? 1 : 0;
  DHCP_LOG_AT(module_service, log_name, "option82 status:%s", on != 0 ? "open" : "close");
  return 0;
}

int set_dhcp_snoop_untrust_option82_switch(int trust) {
  const SnoopingLock lock;
  g_dhcp_snooping.allow_untrust_option82 = trust != 0 ? 1 : 0;
  DHCP_LOG_AT(module_service, "DHCPS_user_option82", "user option82 status:%s", trust != 0 ? "trust" : "untrust");
  return 0;
}
