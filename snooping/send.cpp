/// The way out of the switch for frames that snooping forwards itself.
#include "base/guard.h"
#include "base/mac.h"
#include "base/port_list.h"
#include "packet/egress.h"
#include "snooping/snooping.h"

namespace {

namespace base = dhcp::base;
using dhcp::packet::SendMode;

/// A member port of a group stands for the whole group.
uint32_t with_its_group(uint32_t port) {
  uint32_t group = 0;
  if (base::is_group(port) || port_in_aggport(port, &group) != 0 || group == 0) return port;
  return base::group_bit + group;
}

}  // namespace

int dhcp_is_broadcast_ether_addr(const uint8_t* mac) { return base::MacAddress::from(mac).is_broadcast() ? 1 : 0; }

int dhcp_snooping_send_packet(skpack* frame, uint32_t /*intf*/, int vlan) {
  const auto vid = static_cast<uint32_t>(vlan);
  if (dhcp_is_broadcast_ether_addr(frame->data) != 0) {
    const base::BusyGuard busy(g_dhcp_snooping.intf_busy);
    dhcp::packet::transmit(*frame, g_dhcp_snooping.intf_list, vid, SendMode::flood);
    return 0;
  }
  uint32_t port = 0;
  if (adp_get_intf_by_addr(frame->data, vid, &port) != 0) return 0;  // nobody knows where: it goes nowhere
  dhcp::packet::send_to_port(*frame, with_its_group(port), vid, SendMode::snooped);
  return 0;
}
