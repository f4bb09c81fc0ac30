#include "server/own_address.h"

#include <cstdio>

#include "base/log.h"
#include "base/text.h"
#include "dhcp/server.h"
#include "packet/nic.h"
#include "platform/sysmng.h"

namespace dhcp::server {

OwnAddress own_address(int vid) {
  OwnAddress own;
  dhcp_get_nic_addr(vid, &own.ip, own.mac.bytes.data());
  return own;
}

}  // namespace dhcp::server

int dhcp_get_nic_addr(int vid, uint32_t* ip_out, uint8_t* mac_out) {
  if (sysmng_vlan_is_mng_vlan(static_cast<uint32_t>(vid)) == 0) {
    DHCP_LOG(dhcp::base::module_frame, "dhcpc",
             "Receive DHCP request packet form vlan %d, but this vlan is not manage vlan", vid);
    return 0;
  }
  char ifname[16];
  snprintf(ifname, sizeof ifname, "%s.%d", "eth0", vid);
  uint32_t wire_ip = 0;
  const int result = dhcp::packet::own_nic(ifname, ip_out != nullptr ? &wire_ip : nullptr, mac_out);
  if (ip_out != nullptr) *ip_out = dhcp::base::host_from_network(wire_ip);
  return result;
}
