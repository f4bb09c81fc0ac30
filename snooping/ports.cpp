/// Ports that come, and what the chip must learn when they change.
#include "snooping/snooping.h"
#include "trap/trap.h"

using namespace dhcp;

int dhcp_snooping_add_port(uint32_t intf) { return snooping::interfaces.add(intf); }

int dhcp_port_change_action() {
  if (!trap::dhcp4_installed()) return 0;
  const int rules = trap::ports_changed();
  const int limit = snooping::apply_packet_limit(g_dhcp_snooping.limit);
  return rules == 0 && limit == 0 ? 0 : -1;
}
