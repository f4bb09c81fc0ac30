/// Displays of the configuration and of the binding table; bindings, interfaces and counters as values.
#include "base/report.h"
#include "base/text.h"
#include "binding/display.h"
#include "binding/readout.h"
#include "platform/text.h"
#include "snooping6/bindings.h"

using namespace dhcp;
using namespace dhcp::binding;
using snooping6::bindings;
using snooping6::Lock;

namespace {

base::Ip6Text text_of(const uint8_t* ip6) { return base::Ip6Text(base::Ip6::from(ip6)); }

void write_servers(FILE* out) {
  AddressColumn column(out, "dhcpv6 server ipaddr :");
  for (const Dhcp6ServerInfo* server = g_dhcp6_snooping.server_list; server != nullptr; server = server->next) {
    column.add(text_of(server->ip6).c_str());
  }
}

/// Only the interfaces for which something is set.
void write_interfaces(FILE* out) {
  constexpr const char* row = "         %-10s   %-8s   %s\n";
  fprintf(out, row, "Interface", "Trusted", "Suppression");
  fprintf(out, row, "----------", "--------", "-----------");
  snooping6::interfaces.each([out](const snooping6::Interface& port) {
    if (port.trust == 0 && port.suppression == 0) return;
    fprintf(out, row, InterfaceName(port.ifindex).c_str(), port.trust != 0 ? "yes" : "no",
            port.suppression != 0 ? "enable" : "disable");
  });
}

void write_conf(FILE* out) {
  const Lock lock;
  write_word(out, "DHCPv6 snooping status :", str_enable(g_dhcp6_snooping.enable));
  write_label(out, "DHCPv6 snooping vlan :");
  base::write_vlan_column(out, g_dhcp6_snooping.vlan_bitmap);
  write_servers(out);
  write_interval(out, "DHCPv6 snooping database write-delay time :", g_dhcp6_snooping.writeflash_interval);
  write_interfaces(out);
}

void write_bindings(FILE* out) {
  const Lock lock;
  write_binding_header(out);
  bindings.each_held([out](const MacBind6Struct& entry) { write_binding_row(out, entry, text_of(entry.ip6).c_str()); });
}

}  // namespace

int show_dhcp6_snoop_conf(const char* path) { return base::write_report_to(path, write_conf); }
int show_dhcp6_snoop_bind(char* path, int a, int b) { return base::write_report(path, a, b, write_bindings); }

int dhcp6_snoop_get_bindings(Dhcp6SnoopBinding* out, int room) {
  const Lock lock;
  return copy_bindings(bindings, out, room, [](Dhcp6SnoopBinding& value, const MacBind6Struct& entry) {
    base::Ip6::from(entry.ip6).copy_to(value.ip6);
  });
}

int dhcp6_snoop_get_interfaces(SnoopIntfEntry* out, int room) {
  const Lock lock;
  return copy_interfaces(snooping6::interfaces, out, room);
}

int dhcp6_snoop_get_counters(uint32_t intf, Dhcp6SnoopCounters* out) {
  const Lock lock;
  return binding::copy_counts(snooping6::frame_counts.view(), snooping6::interfaces, intf, out->count);
}
