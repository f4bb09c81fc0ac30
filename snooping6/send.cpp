/// The way out of the switch for frames that snooping forwards itself.
#include "dhcp/packet6.h"
#include "packet/egress.h"
#include "snooping6/snooping6.h"

int dhcp6_snooping_send_packet(skpack* frame, uint32_t /*in_intf*/, int vlan) {
  using dhcp::packet::SendMode;
  const auto vid = static_cast<uint32_t>(vlan);
  if (dhcp6_is_multicast_ether_addr(frame->data) != 0) {
    const dhcp::base::BusyGuard busy(g_dhcp6_snooping.intf_busy);
    dhcp::packet::transmit(*frame, g_dhcp6_snooping.intf_list, vid, SendMode::flood);
    return 0;
  }
  uint32_t port = 0;
  if (adp_get_intf_by_addr(frame->data, vid, &port) == 0) {
    dhcp::packet::send_to_port(*frame, port, vid, SendMode::snooped);
  }
  return 0;
}
