/// Which VLAN interfaces get their address by DHCPv6.
#include <cstring>
#include <new>
#include <utility>

#include "base/log.h"
#include "client6/client6.h"
#include "platform/sysmng.h"

namespace dhcp::client6 {

void FreeNode::operator()(Dhcp6cInterfaceNode* node) const {
  for (const uint8_t* kept : {node->client_id, node->server_id, node->ia, node->address}) delete[] kept;
  delete node;
}

Node unlink(Dhcp6cInterfaceNode& node) {
  base::list_unlink(node.link);
  --dhcpc6_golbal_config.node_count;
  return Node(&node);
}

void keep(uint8_t*& field, std::unique_ptr<uint8_t[]> copy) { delete[] std::exchange(field, copy.release()); }

void begin_anew(Dhcp6cInterfaceNode& node) {
  node.state = DHCPC6_INIT;
  node.ticks = node.timeout = node.requesting = node.tries = 0;
}

namespace {

/// Adds an interface that begins in INIT. False when there is no memory for it.
bool add(uint16_t vlan) {
  Node node(new (std::nothrow) Dhcp6cInterfaceNode{});
  std::unique_ptr<uint8_t[]> id(new (std::nothrow) uint8_t[DHCP6C_CLIENT_ID_SIZE]);
  if (node == nullptr || id == nullptr) return false;
  std::memcpy(id.get(), dhcpc6_golbal_config.client_id, DHCP6C_CLIENT_ID_SIZE);
  keep(node->client_id, std::move(id));
  node->vlan = vlan;
  node->mode = DHCP6C_MODE_DHCPV6;
  base::list_add_head(dhcpc6_golbal_config.nodes, node.release()->link);
  ++dhcpc6_golbal_config.node_count;
  return true;
}

/// An interface that is in DHCPv6 mode already keeps its lease.
bool lease_from_server(uint16_t vlan) {
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  Dhcp6cInterfaceNode* node = dhcp6c_find_interface_node(vlan);
  if (node == nullptr) return add(vlan);
  if (node->mode == DHCP6C_MODE_DHCPV6) return true;
  node->mode = DHCP6C_MODE_DHCPV6;
  begin_anew(*node);
  node->backoff = 0;
  return true;
}

const char* name_of(int mode) { return mode == DHCP6C_MODE_DHCPV6 ? "DHCPv6" : "Static"; }

}  // namespace

}  // namespace dhcp::client6

using namespace dhcp;

int dhcp6c_set_interface_ip6_mode(uint32_t vlan, int mode) {
  const auto id = static_cast<uint16_t>(vlan);
  if (mode != DHCP6C_MODE_DHCPV6 && mode != DHCP6C_MODE_STATIC) return -1;
  DHCP_LOG(base::module_frame, "dhcpc", "DHCPV6 Client set interface vlan %d ipv6 mode to %s\n", id,
           client6::name_of(mode));
  if (mode == DHCP6C_MODE_STATIC) return dhcp6c_interface_vlan_node_del(id);
  return client6::lease_from_server(id) ? 0 : -1;
}

int dhcp6c_interface_node_add(uint32_t vlan) {
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  return client6::add(static_cast<uint16_t>(vlan)) ? 0 : -1;
}

Dhcp6cInterfaceNode* dhcp6c_find_interface_node(uint32_t vlan) {
  for (Dhcp6cInterfaceNode& node : client6::nodes()) {
    if (node.vlan == static_cast<uint16_t>(vlan)) return &node;
  }
  return nullptr;
}

int dhcp6c_interface_vlan_node_del(uint32_t vlan) {
  const auto id = static_cast<uint16_t>(vlan);
  {
    const base::BusyGuard busy(dhcpc6_golbal_config.busy);
    for (Dhcp6cInterfaceNode& node : client6::nodes()) {
      if (node.vlan == id) client6::unlink(node);
    }
  }
  sysmng_vlan_static_ip6addr(id, nullptr, 0);
  return 0;
}

int dhcp6c_manual_set_renew_state(uint32_t vlan) {
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  Dhcp6cInterfaceNode* node = dhcp6c_find_interface_node(vlan);
  if (node == nullptr) return -1;
  node->state = DHCPC6_RESTART;
  DHCP_LOG_FROM(__func__, __LINE__, 6, base::module_frame, "dhcpc",
                "DHCPV6 Client manual request the ipv6 address for interface vlan %d.\n", node->vlan);
  return 0;
}
