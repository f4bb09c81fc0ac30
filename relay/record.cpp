/// The relay's record, its start and its end.
#include <algorithm>

#include "base/device_mac.h"
#include "base/port_list.h"
#include "base/services.h"
#include "relay/helpers.h"

static_assert(sizeof(void*) != 4 || (sizeof(DhcpServerNode) == 28 && sizeof(DhcpInfoNode) == 32));

namespace {

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
    .route_port = {dhcp::relay::default_route_port},
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

int32_t dhcp_dbg_level = dhcp::relay::quiet_level;

namespace dhcp::base {

bool relay_on() { return dhcpr_cfg.status.load() != DHCPR_OFF; }

}  // namespace dhcp::base

namespace dhcp::relay {

base::MacAddress device_mac() {
  base::know_device_mac(dhcpr_cfg.ifname, dhcpr_cfg.dev_mac, dhcpr_cfg.dev_mac_valid);
  return base::MacAddress::from(dhcpr_cfg.dev_mac);
}

}  // namespace dhcp::relay

/// Clears what one run has gathered; switches, buffer and socket stay as they are.
void init_DHCPR_cfg() {
  dhcp::relay::clear_transactions();
  dhcpr_cfg.server_busy.store(0);
  dhcp::relay::helpers().clear();
  std::fill(std::begin(dhcpr_cfg.dev_mac), std::end(dhcpr_cfg.dev_mac), uint8_t{0});
  dhcpr_cfg.dev_mac_valid = 0;
  free_ports();
  dhcpr_cfg.port_users.store(0);
  dhcpr_cfg.port_list = dhcp::base::make_port_list(dhcpr_cfg.port_count);
}

/// The helper addresses stay for the next run.
void exit_DHCPR_cfg() {
  if (dhcp::base::relay_on()) DHCPR_stop();
  free_ports();
  dhcp::relay::clear_transactions();
}
