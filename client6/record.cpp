/// The client's record and its start. The record is usable from the moment the library is loaded.
#include <cstddef>
#include <cstring>

#include "base/mac.h"
#include "base/port_list.h"
#include "client6/client6.h"
#include "packet/kept_option6.h"
#include "platform/sysmng.h"
#include "platform/text.h"

static_assert(sizeof(void*) != 4 || (sizeof(Dhcp6cConfig) == 44 && sizeof(Dhcp6cInterfaceNode) == 148));
static_assert(offsetof(Dhcp6cInterfaceNode, link) == 0, "lists are walked by their links");

constinit Dhcp6cConfig dhcpc6_golbal_config = {
    .mac = {},
    .node_count = 0,
    .nodes = {&dhcpc6_golbal_config.nodes, &dhcpc6_golbal_config.nodes},
    .busy = 0,
    .ports = nullptr,
    .client_id = {},
};

int32_t gtimeout = 5;
int32_t discover_retries = 3;

namespace dhcp::client6 {

namespace {

/// A device that cannot tell its MAC leaves zeros, and then nothing is sent.
void read_mac() {
  char text[18] = "";
  uint8_t mac[6];
  const bool known = sysmng_get_mac(text) == 0 && onu_str2mac(text, mac) == 0;
  if (known) {
    std::memcpy(dhcpc6_golbal_config.mac, mac, sizeof mac);
  } else {
    std::memset(dhcpc6_golbal_config.mac, 0, sizeof mac);
  }
}

void build_client_id() {
  const auto duid = packet::duid_ll(base::MacAddress::from(dhcpc6_golbal_config.mac));
  packet::store_option6(dhcpc6_golbal_config.client_id, packet::option6::client_id, duid);
}

}  // namespace

}  // namespace dhcp::client6

void dhcp6c_init() {
  using namespace dhcp;
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  for (Dhcp6cInterfaceNode& node : client6::nodes()) client6::unlink(node);
  if (dhcpc6_golbal_config.ports != nullptr) intf_order_list_free_node(dhcpc6_golbal_config.ports);
  int32_t ports = 0;
  dhcpc6_golbal_config.ports = base::make_physical_port_list(ports);
  client6::read_mac();
  client6::build_client_id();
  client6::seed_transactions();
}
