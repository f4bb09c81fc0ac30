/// DHCPv4 to the CPU: both UDP ports, from trusted and untrusted ports alike, because a rogue server's frames are to
/// be seen and counted.
#include "trap/cpu_rules.h"
#include "trap/trap.h"

namespace dhcp::trap {

namespace {

CpuRules rules(10, 68, 67);  // UDP destinations (RFC 2131 section 4.1)

}  // namespace

bool dhcp4_installed() { return rules.installed(); }

int ports_changed() {
  if (!dhcp4_installed()) return 0;
  rules.close();
  return rules.open();
}

}  // namespace dhcp::trap

int open_dhcp_cpu() { return dhcp::trap::rules.open(); }
int close_dhcp_cpu() { return dhcp::trap::rules.close(); }
