/// The server's switch.
#include "base/services.h"
#include "dhcp/trap.h"
#include "server/server.h"

bool dhcp::base::server_on() { return dhcps_cfg.enable != 0; }

int dhcp_server_start_stop(int enable) {
  const auto wanted = static_cast<uint8_t>(enable);
  if (wanted == dhcps_cfg.enable) return 0;
  // Relay and server answer the same frames: only one of them may be on.
  if (wanted != 0 && dhcp::base::relay_on()) return -1;
  const bool rules_are_ours = !dhcp::base::snooping_on();
  if (wanted == 0) {
    if (rules_are_ours) close_dhcp_cpu();
    dhcp_server_close_socket();
  } else {
    if (rules_are_ours) open_dhcp_cpu();
    dhcp_server_open_socket();  // without it the server still answers: replies never go through the socket
  }
  dhcps_cfg.enable = wanted;
  return 0;
}
