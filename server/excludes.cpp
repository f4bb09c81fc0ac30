/// The excluded ranges, common to all pools.
#include <cstdio>

#include "base/log.h"
#include "base/text.h"
#include "server/server.h"

using namespace dhcp::server;
using dhcp::base::BusyGuard;
using dhcp::base::IpText;

int dhcp_server_set_exclude_ip(uint32_t start_ip, uint32_t end_ip) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.excludes.busy);
  if (dhcp_get_exclude_ip(&dhcps_cfg.excludes.head, start_ip, end_ip) != nullptr) return 0;
  auto* range = new (std::nothrow) DhcpExcludeRange{{}, start_ip, end_ip};
  if (range == nullptr) {
    fprintf(stderr, "memory mallc failed for dhcp exclude ip !!\n");
    DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set exclude ip", "memory mallc failed for dhcp exclude ip.\n");
    return -1;
  }
  link_record(dhcps_cfg.excludes, range);
  addresses_changed();
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "clear conflict", "startip:%s, endip:%s\n", IpText(start_ip).c_str(),
                     IpText(end_ip).c_str());
  return 0;
}

int dhcp_server_del_exclude_ip(uint32_t start_ip, uint32_t end_ip) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.excludes.busy);
  DhcpExcludeRange* range = dhcp_get_exclude_ip(&dhcps_cfg.excludes.head, start_ip, end_ip);
  if (range == nullptr) return -1;
  free_record(dhcps_cfg.excludes, range);
  addresses_changed();
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "exclude ip", "startip:%s, endip:%s\n", IpText(start_ip).c_str(),
                     IpText(end_ip).c_str());
  return 0;
}
