#include "trap/cpu_rules.h"

#include "platform/adp.h"

namespace dhcp::trap {

int CpuRules::install(PortMap ports) const {
  if (install_rule(group_, client_rule, client_port_, ports, Treatment::to_cpu) == 0 &&
      install_rule(group_, server_rule, server_port_, ports, Treatment::to_cpu) == 0) {
    return 0;
  }
  remove();
  return -1;
}

void CpuRules::remove() const {
  adp_fp_delete_entity_rule(group_, client_rule);
  adp_fp_delete_entity_rule(group_, server_rule);
}

}  // namespace dhcp::trap
