/// Display, and the configuration as command lines in an order in which they can be typed again: management-VLAN mode
/// passes over route lines and is what helper addresses need.
#include "base/report.h"
#include "base/text.h"
#include "platform/text.h"
#include "relay/helpers.h"

using namespace dhcp::relay;
using dhcp::base::IpText;

namespace {

void write_relay(FILE* out) {
  constexpr const char* row = "%-20s  %-18s  %s\n";
  fprintf(out, "\n%-32s %s \n", "DHCP relay status :", str_enable(dhcpr_cfg.status.load() != DHCPR_OFF ? 1 : 0));
  fputs("\n", out);
  fprintf(out, row, "Helper address", "Vlan", "Status");
  fprintf(out, row, "--------------------", "----------------", "------");
  for (const auto& [node, requests, replies] : helpers().copies()) {
    char vlan[12] = "--";
    if (node.valid == 1) snprintf(vlan, sizeof vlan, "%u", node.vlan);
    fprintf(out, row, IpText(node.ip).c_str(), vlan, node.valid == 1 ? "valid" : "invalid");
  }
  fputs("\n", out);
}

void save_route(FILE* out) {
  const int32_t port = dhcpr_cfg.route_port.load(), tag = dhcpr_cfg.tag_mode.load();
  if (port != default_route_port) fprintf(out, "ip dhcp relay route-port %d\r\n", port);
  if (tag != 0 && dhcpr_cfg.status.load() != DHCPR_ON_MANAGEMENT_VLAN) {
    fprintf(out, "ip dhcp relay route-vlan %d %d\r\n", tag, shared(dhcpr_cfg.route_vlan).load());
  }
}

void save_service(FILE* out, int status) {
  if (status == DHCPR_ON) fputs("service dhcp-relay\r\n", out);
  if (status == DHCPR_ON_MANAGEMENT_VLAN) fputs("service dhcp-relay management-vlan\r\n", out);
}

void save_switches(FILE* out) {
  if (dhcpr_cfg.trust.load() != 1) fputs("no ip dhcp relay information trust\r\n", out);
  if (dhcpr_cfg.option82.load() != 1) fputs("no ip dhcp relay information option\r\n", out);
}

void save_helpers(FILE* out) {
  for (const auto& [node, requests, replies] : helpers().copies()) {
    fprintf(out, "ip helper-address %s\r\n", IpText(node.ip).c_str());
  }
}

}  // namespace

int show_dhcp_relay_info(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_relay); }

int onu_dhcp_relay_save(FILE* out) {
  const int status = dhcpr_cfg.status.load();
  const bool management_vlan = status == DHCPR_ON_MANAGEMENT_VLAN;
  if (management_vlan) save_route(out);
  save_service(out, status);
  save_switches(out);
  if (!management_vlan) save_route(out);
  if (management_vlan) save_helpers(out);
  return 0;
}
