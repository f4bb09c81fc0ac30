/// Trust and suppression of an interface, and the chip's rule for the untrusted ones.
#include <array>

#include "base/log.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "snooping6/snooping6.h"

using namespace dhcp;
using base::module_frame;
using snooping6::log_name;

namespace {

/// The chip's bits of one port: how ports are numbered there is the device's affair.
std::array<uint32_t, 2> port_bits(uint32_t port) {
  intf_order_list list{};
  auto* sentinel = reinterpret_cast<intf_order_node*>(&list);
  intf_order_node only{sentinel, sentinel, port};
  list.next = list.prev = &only;
  std::array<uint32_t, 2> bits{};
  intf_order_list_change_to_bit_map(&list, bits.data());
  return bits;
}

}  // namespace

int set_dhcp6_snoop_trust_rule() {
  const snooping6::Lock lock;
  std::array<uint32_t, 2> untrusted{};
  snooping6::interfaces.each([&untrusted](const snooping6::Interface& port) {
    if (port.trust != 0) return;
    const auto bits = port_bits(port.ifindex);
    untrusted[0] |= bits[0];
    untrusted[1] |= bits[1];
  });
  del_dhcp6_notrust_port_acl_rule();
  if ((untrusted[0] | untrusted[1]) != 0) add_dhcp6_notrust_port_acl_rule(untrusted[0], untrusted[1]);
  return 0;
}

int set_dhcp6_snoop_trust(int trust, uint32_t intf) {
  const snooping6::Lock lock;
  snooping6::Interface* port = snooping6::interfaces.find(intf);
  if (port == nullptr) {
    DHCP_LOG_AT(module_frame, log_name, "port,the port 0x%x is not exist", intf);
    return 0;
  }
  const int wanted = trust != 0 ? 1 : 0;
  if (port->trust == wanted) return 0;
  port->trust = wanted;
  DHCP_LOG_AT(module_frame, log_name, "port,set 0x%x dhcp snooping %s port", intf, wanted != 0 ? "trust" : "untrust");
  if (base::snooping6_on()) set_dhcp6_snoop_trust_rule();
  return 0;
}

int set_dhcp6_snoop_suppression(int open, uint32_t intf) {
  const snooping6::Lock lock;
  snooping6::Interface* port = snooping6::interfaces.find(intf);
  if (port == nullptr) {
    DHCP_LOG_AT(module_frame, log_name, "suppresion,the port 0x%x is not exist", intf);
    return 0;
  }
  port->suppression = open != 0 ? 1 : 0;
  DHCP_LOG_AT(module_frame, log_name, "suppresion,%s the port 0x%x suppresion function", open != 0 ? "open" : "close",
              intf);
  return 0;
}
