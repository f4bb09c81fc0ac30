/// Destinations: configuration, and what a display shows of them.
#include "relay6/relay6.h"

namespace dhcp::relay6 {

namespace {

constexpr int learn_wait_s = 3;

Dhcp6RelayState state_of(const Dhcp6ServerNode& node) {
  if (node.valid == 0) return DHCP6_RELAY_PROBING;
  return MacAddress::from(node.mac) == MacAddress{} ? DHCP6_RELAY_STALE : DHCP6_RELAY_VALID;
}

Dhcp6RelayDestination value_of(const Destinations::Copy& copy, uint32_t now) {
  Dhcp6RelayDestination value{};
  std::copy_n(copy.node.ip6, sizeof value.ip6, value.ip6);
  std::copy_n(copy.node.mac, sizeof value.mac, value.mac);
  value.vlan = copy.node.vlan;
  value.out_intf = copy.node.out_intf;
  value.state = state_of(copy.node);
  value.age = copy.node.valid != 0 ? base::seconds_known(copy.node.time, now) : 0;
  value.requests = copy.requests;
  value.replies = copy.replies;
  return value;
}

}  // namespace

}  // namespace dhcp::relay6

using namespace dhcp::relay6;

int dhcp6_relay_set_dhcp_serverip(int op, const uint8_t ip6[16], uint32_t out_intf) {
  constexpr int add = 1;
  const Ip6 address = Ip6::from(ip6);
  if (op != add) {
    destinations().remove(address);
    return 0;
  }
  MacAddress mac;
  uint32_t vlan = 0;
  const bool learnt = dhcp6_relay_get_server_mac(ip6, mac.bytes.data(), &vlan, learn_wait_s) == 0;
  const auto result = destinations().put(address, learnt ? mac.bytes.data() : nullptr, vlan,
                                         [=](Dhcp6ServerNode& node) { node.out_intf = out_intf; });
  if (result != dhcp::base::HelperError::none) return -1;
  restart_probing();
  return 0;
}

Dhcp6ServerNode* dhcp6_relay_find_dhcp_serverip(const uint8_t ip6[16], int create, const uint8_t* mac, uint32_t vlan) {
  Dhcp6ServerNode* found = nullptr;
  if (create == 1) {
    destinations().put(Ip6::from(ip6), mac, vlan, [&](Dhcp6ServerNode& node) { found = &node; });
  } else {
    destinations().update(Ip6::from(ip6), [&](Dhcp6ServerNode& node) {
      if (mac != nullptr) Destinations::set_learnt(node, mac, vlan, dhcp::base::now32());
      found = &node;
    });
  }
  return found;
}

void insert_DHCP6_SERVER_list(DhcpListHead* head, Dhcp6ServerNode* node) {
  dhcp::base::list_add_tail(*head, node->links);
}

size_t dhcp6_relay_get_destinations(Dhcp6RelayDestination* out, size_t max) {
  const uint32_t now = dhcp::base::now32();
  size_t count = 0;
  for (const auto& copy : destinations().copies()) {
    if (count < max) out[count++] = value_of(copy, now);
  }
  return count;
}

const char* dhcp6_relay_state_name(int state) {
  switch (state) {
    case DHCP6_RELAY_VALID: return "valid";
    case DHCP6_RELAY_PROBING: return "probing";
    case DHCP6_RELAY_STALE: return "stale";
    default: return "unknown";
  }
}
