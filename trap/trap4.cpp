/// DHCPv4 to the CPU: both UDP ports, from trusted and untrusted ports alike, because a rogue server's frames are to
/// be seen and counted.
#include "trap/cpu_rules.h"
#include "trap/trap.h"

namespace dhcp::trap {

namespace {

CpuRules rules4(10, 68, 67);  // UDP destinations (RFC 2131 section 4.1)

}  // namespace

bool dhcp4_installed() { return rules4.installed(); }

int ports_changed() {
  if (!dhcp4_installed()) return 0;
  rules4.close();
  return rules4.open();
}

}  // namespace dhcp::trap

int open_dhcp_cpu() { return dhcp::trap::rules4.open(); }
int close_dhcp_cpu() { return dhcp::trap::rules4.close(); }
