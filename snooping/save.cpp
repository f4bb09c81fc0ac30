/// The configuration as command lines, in an order in which they can be typed again.
#include "base/list.h"
#include "base/text.h"
#include "binding/display.h"
#include "platform/text.h"
#include "snooping/bindings.h"
#include "snooping/option82.h"

using namespace dhcp::snooping;
using namespace dhcp::binding;
using dhcp::base::IpText;

namespace {

constexpr const char* command = "ip dhcp snooping";

void save_switches(FILE* out) {
  const DhcpSnoopConfig& conf = g_dhcp_snooping;
  if (conf.enable == 1) fputs("ip dhcp snooping\r\n", out);
  save_vlans(out, command, conf.vlan_bitmap);
  if (conf.limit != 0) fprintf(out, "ip dhcp snooping limit %d\r\n", conf.limit);
  if (conf.verify_enable == 1) fputs("ip dhcp snooping verify mac-address\r\n", out);
}

void save_verify_macs(FILE* out) {
  char mac[18];
  for (const MacVerifyStruct* entry : g_dhcp_snooping.verify_bucket) {
    for (; entry != nullptr; entry = entry->next) {
      fprintf(out, "ip dhcp snooping verify mac-address %s mode %d\r\n", onu_mac2str(entry->mac, mac), entry->mode);
    }
  }
}

/// Ports come before groups in the list.
void save_interfaces(FILE* out) {
  interfaces.each([out](const IntfNode& port) { save_interface(out, command, port); });
}

void save_static_bindings(FILE* out) {
  bindings.each_held([out](const MacBindStruct& binding) {
    if (binding.is_static == 0) return;
    char mac[18];
    save_interface_line(out, binding.intf);
    fprintf(out, "ip dhcp snooping binding mac %s", onu_mac2str(binding.mac, mac));
    if (binding.ip != 0) fprintf(out, " ip %s", IpText(binding.ip).c_str());
    fprintf(out, " vlan %d expiry %d\r\n", binding.vlan, binding.lease);
    fputs("exit\r\n", out);
  });
}

void save_servers(FILE* out) {
  for (const DhcpServerInfo* server = g_dhcp_snooping.server_list; server != nullptr; server = server->next) {
    fprintf(out, "ip dhcp snooping dhcpserver %s\r\n", IpText(server->ip).c_str());
  }
}

void save_option82(FILE* out) {
  for (const SUB_OPTION& set : dhcp::base::Records<SUB_OPTION>(g_dhcp_snooping.sub_option_list)) {
    const auto vlan = static_cast<int>(set.vlan);
    if (has_setting(set, SubOption::circuit_id)) {
      fprintf(out, "ip dhcp information option circuitid %d fromvlan %d acsii-string %s\r\n", set.circuit_id, vlan,
              set.circuit_string);
    }
    if (has_setting(set, SubOption::remote_id)) {
      fprintf(out, "ip dhcp information option remoteid %d fromvlan %d acsii-string %s\r\n", set.remote_id, vlan,
              set.remote_string);
    }
    if (has_setting(set, SubOption::link_selection)) {
      fprintf(out, "ip dhcp information option ip %s fromvlan %d\r\n", IpText(set.ip).c_str(), vlan);
    }
  }
  if (g_dhcp_snooping.option82_enable == 1) fputs("ip dhcp snooping information option\r\n", out);
  if (g_dhcp_snooping.allow_untrust_option82 == 0) {
    fputs("no ip dhcp snooping information client_option\r\n", out);
  }
}

}  // namespace

int onu_dhcp_snoop_save(FILE* stream) {
  const SnoopingLock lock;
  save_switches(stream);
  save_verify_macs(stream);
  save_interfaces(stream);
  save_static_bindings(stream);
  save_servers(stream);
  if (g_dhcp_snooping.writeflash_enable == 1) {
    fprintf(stream, "ip dhcp snooping database write-delay %d\r\n", g_dhcp_snooping.writeflash_interval);
  }
  save_option82(stream);
  return 0;
}
