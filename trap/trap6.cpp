/// DHCPv6 to the CPU, and past it: what comes for a client's port from where no server may stand is dropped by the chip
/// before anybody sees it. That rule's number is the highest of the group, so it decides.
#include "platform/adp.h"
#include "trap/cpu_rules.h"
#include "trap/trap.h"

namespace dhcp::trap {

namespace {

constexpr uint32_t group = 11, untrusted_rule = 2;
constexpr uint16_t server_port = 547, client_port = 546;  // UDP destinations (RFC 8415 section 7.2)

CpuRules rules6(group, client_port, server_port);

}  // namespace

}  // namespace dhcp::trap

using namespace dhcp::trap;

int open_dhcp6_cpu() { return rules6.open(); }
int close_dhcp6_cpu() { return rules6.close(); }
int add_dhcp6_acl_rule(uint32_t lo, uint32_t hi) { return rules6.install({lo, hi}); }

int add_dhcp6_notrust_port_acl_rule(uint32_t lo, uint32_t hi) {
  return install_rule(group, untrusted_rule, client_port, {lo, hi}, Treatment::drop);
}

int del_dhcp6_notrust_port_acl_rule() { return adp_fp_delete_entity_rule(group, untrusted_rule); }
