/// Display of the configuration, the interfaces that matter and the last rogue server.
#include "base/report.h"
#include "base/text.h"
#include "base/vlan_set.h"
#include "binding/display.h"
#include "platform/text.h"
#include "snooping/counters.h"
#include "snooping/snooping.h"

using namespace dhcp::snooping;
using namespace dhcp::binding;
using dhcp::base::IpText;

namespace {

void write_servers(FILE* out) {
  AddressColumn column(out, "dhcp server ipaddr :");
  for (const DhcpServerInfo* server = g_dhcp_snooping.server_list; server != nullptr; server = server->next) {
    column.add(IpText(server->ip).c_str());
  }
}

void write_limit(FILE* out) {
  write_label(out, "DHCP snooping packet limit :");
  if (g_dhcp_snooping.limit == 0) {
    fputs("None\n", out);
  } else {
    fprintf(out, "%d pps\n", g_dhcp_snooping.limit);
  }
}

void write_rogue(FILE* out) {
  const DhcpSnoopRogue& rogue = last_rogue();
  write_label(out, "Last rogue DHCP server :");
  if (rogue.time == 0) {
    fputs("None\n", out);
    return;
  }
  char mac[18];
  fprintf(out, "mac %s ip %s port %s vlan %d\n", onu_mac2str(rogue.mac, mac), IpText(rogue.ip).c_str(),
          str_intf_id(rogue.intf), rogue.vlan);
}

void write_interface(FILE* out, const SnoopIntfEntry& port) {
  fprintf(out, "         %-10s   %-8s   %-11s   %-16u   %u\n", InterfaceName(port.ifindex).c_str(),
          port.trust != 0 ? "yes" : "no", port.suppression != 0 ? "enable" : "disable", port.dropped_ack,
          port.dropped_offer);
}

/// Interfaces that are set up in some way, and those on which a server's answers were dropped.
void write_interfaces(FILE* out) {
  constexpr const char* row = "         %-10s   %-8s   %-11s   %-16s   %s\n";
  fprintf(out, row, "Interface", "Trusted", "Suppression", "Dropped Ack Pkts", "Dropped Offer Pkts");
  fprintf(out, row, "----------", "--------", "-----------", "----------------", "------------------");
  interfaces.each([out](const IntfNode& port) {
    if (port.trust != 0 || port.suppression != 0 || port.dropped_ack != 0 || port.dropped_offer != 0) {
      write_interface(out, port);
    }
  });
}

void write_conf(FILE* out) {
  const SnoopingLock lock;
  const DhcpSnoopConfig& conf = g_dhcp_snooping;
  write_word(out, "DHCP snooping status :", str_enable(conf.enable));
  write_label(out, "DHCP snooping vlan :");
  dhcp::base::write_vlan_column(out, conf.vlan_bitmap);
  write_limit(out);
  write_word(out, "DHCP snooping verify status :", str_enable(conf.verify_enable));
  write_word(out, "DHCP snooping option82 status :", str_enable(conf.option82_enable));
  write_word(out, "DHCP snooping user option82 :", conf.allow_untrust_option82 != 0 ? "trust" : "untrust");
  write_servers(out);
  write_interval(out, "DHCP snooping database write-delay time :", conf.writeflash_interval);
  write_rogue(out);
  write_interfaces(out);
}

}  // namespace

int show_dhcp_snoop_conf(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_conf); }
