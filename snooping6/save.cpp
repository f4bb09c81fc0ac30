/// The configuration as command lines, in an order in which they can be typed again.
#include "base/text.h"
#include "binding/display.h"
#include "platform/text.h"
#include "snooping6/bindings.h"

using namespace dhcp;

namespace {

constexpr const char* command = "ipv6 dhcp snooping";

void save_static_bindings(FILE* out) {
  snooping6::bindings.each_held([out](const MacBind6Struct& entry) {
    if (entry.is_static == 0) return;
    char mac[18];
    binding::save_interface_line(out, entry.intf);
    fprintf(out, "%s binding mac %s vlan %d expiry %d\r\nexit\r\n", command, onu_mac2str(entry.mac, mac), entry.vlan,
            entry.lease);
  });
}

void save_servers(FILE* out) {
  for (const Dhcp6ServerInfo* server = g_dhcp6_snooping.server_list; server != nullptr; server = server->next) {
    fprintf(out, "%s dhcpserver %s\r\n", command, base::Ip6Text(base::Ip6::from(server->ip6)).c_str());
  }
}

}  // namespace

int onu_dhcp6_snoop_save(FILE* stream) {
  const snooping6::Lock lock;
  if (g_dhcp6_snooping.enable == 1) fprintf(stream, "%s\r\n", command);
  binding::save_vlans(stream, command, g_dhcp6_snooping.vlan_bitmap);
  snooping6::interfaces.each(
      [stream](const snooping6::Interface& port) { binding::save_interface(stream, command, port); });
  save_static_bindings(stream);
  save_servers(stream);
  if (g_dhcp6_snooping.writeflash_enable == 1) {
    fprintf(stream, "%s database write-delay %d\r\n", command, g_dhcp6_snooping.writeflash_interval);
  }
  return 0;
}
