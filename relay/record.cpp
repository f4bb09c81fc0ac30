#include <cstring>

#include "base/port_list.h"
#include "base/services.h"
#include "relay/relay.h"

namespace {

constexpr int32_t default_route_port = 24;

void free_ports() {
  if (dhcpr_cfg.port_list != nullptr) intf_order_list_free_node(dhcpr_cfg.port_list);
  dhcpr_cfg.port_list = nullptr;
  dhcpr_cfg.port_count = 0;
}

}  // namespace

DhcpRelayConfig dhcpr_cfg = {
    .status = {DHCPR_OFF},
    .trust = {1},
    .option82 = {1},
    .send_buf = nullptr,
    .send_sock = -1,
    .tag_mode = {0},
    .route_vlan = 0,
    .route_port = {default_route_port},
    .ifname = "eth0",
    .dev_mac = {},
    .dev_mac_valid = 0,
    .server_count = 0,
    .server_list = {&dhcpr_cfg.server_list, &dhcpr_cfg.server_list},
    .server_busy = {0},
    .info_count = 0,
    .info_table = {},
    .port_count = 0,
    .port_users = {0},
    .port_list = nullptr,
};

namespace dhcp::base {

bool relay_on() { return dhcpr_cfg.status.load() != DHCPR_OFF; }

}  // namespace dhcp::base

/// Clears what one run has gathered; switches, buffer and socket stay as they are.
void init_DHCPR_cfg() {
  free_ports();
  dhcpr_cfg.port_users.store(0);
  dhcpr_cfg.port_list = dhcp::base::make_port_list(dhcpr_cfg.port_count);
}

void exit_DHCPR_cfg() {
  dhcpr_cfg.status.store(DHCPR_OFF);
  free_ports();
}
