/// DHCPv4 to the CPU: both UDP ports, from trusted and untrusted ports alike, because a rogue server's frames are to
/// be seen and counted.
#include <atomic>

#include "platform/adp.h"
#include "trap/field_rule.h"
#include "trap/trap.h"

namespace dhcp::trap {

namespace {

constexpr uint32_t group = 10, client_rule = 1, server_rule = 0;
constexpr uint16_t server_port = 67, client_port = 68;  // UDP destinations (RFC 2131 section 4.1)

std::atomic<bool> installed{false};

void remove_rules() {
  adp_fp_delete_entity_rule(group, client_rule);
  adp_fp_delete_entity_rule(group, server_rule);
}

int install_rules() {
  if (install_cpu_rule(group, client_rule, client_port) == 0 &&
      install_cpu_rule(group, server_rule, server_port) == 0) {
    return 0;
  }
  remove_rules();
  return -1;
}

}  // namespace

bool dhcp4_installed() { return installed.load(); }

int ports_changed() {
  if (!dhcp4_installed()) return 0;
  close_dhcp_cpu();
  return open_dhcp_cpu();
}

}  // namespace dhcp::trap

int open_dhcp_cpu() {
  using namespace dhcp::trap;
  if (installed.exchange(true)) return 0;
  const int result = install_rules();
  if (result != 0) installed.store(false);
  return result;
}

int close_dhcp_cpu() {
  using namespace dhcp::trap;
  if (installed.exchange(false)) remove_rules();
  return 0;
}
