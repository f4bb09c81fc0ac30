/// The relay's switches.
#include "base/log.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "platform/sysmng.h"
#include "relay/relay.h"

using dhcp::base::module_frame;
using dhcp::relay::settings_log;
using dhcp::relay::shared;

namespace {

constexpr int error_no_mode = -84, error_no_vlan = -90;
constexpr int mode_client_tag = 0, mode_helper_vlan = 1, mode_route_vlan = 2;

/// In management-VLAN mode the way out is the helper's; what says otherwise is passed over in silence.
bool routed_by_helper() { return dhcpr_cfg.status.load() == DHCPR_ON_MANAGEMENT_VLAN; }

void set_tag_mode(int mode, uint16_t vlan) {
  shared(dhcpr_cfg.route_vlan).store(vlan);
  dhcpr_cfg.tag_mode.store(mode);
}

}  // namespace

int DHCPR_set_dbg_level(int level) {
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr set dbg level to %d\r\n", level);
  shared(dhcp_dbg_level).store(level);
  return 0;
}

int DHCPR_get_dbg_level(int* out) {
  if (out == nullptr) return -1;
  *out = shared(dhcp_dbg_level).load();
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr get dbg level %d\r\n", *out);
  return 0;
}

int DHCPR_set_trust(int trust) {
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr set trust to %d\r\n", trust);
  dhcpr_cfg.trust.store(trust);
  return 0;
}

int DHCPR_get_trust(int* out) {
  if (out == nullptr) return -1;
  *out = dhcpr_cfg.trust.load();
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr get trust to %d\r\n", *out);
  return 0;
}

int DHCPR_set_route_port(int port) {
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr set route port to %d\r\n", port);
  if (!routed_by_helper()) dhcpr_cfg.route_port.store(port);
  return 0;
}

int DHCPR_get_route_port(int* out) {
  if (out == nullptr) return -1;
  *out = dhcpr_cfg.route_port.load();
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr get route port %d\r\n", *out);
  return 0;
}

int DHCPR_set_route_vlan(int tag, int vlan) {
  constexpr int must_exist = 2;
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr set route vlan, tag %d vlan %d\r\n", tag, vlan);
  if (routed_by_helper()) return 0;
  if (tag < mode_client_tag || tag > mode_route_vlan) return error_no_mode;
  if (tag != mode_route_vlan) {
    set_tag_mode(tag, 0);
    return 0;
  }
  if (get_vlan_valid(static_cast<uint32_t>(vlan), must_exist) != 0) return error_no_vlan;
  set_tag_mode(tag, static_cast<uint16_t>(vlan));
  return 0;
}

int DHCPR_get_route_vlan(int* tag_out, int* vlan_out) {
  if (tag_out == nullptr || vlan_out == nullptr) return -1;
  *tag_out = dhcpr_cfg.tag_mode.load();
  *vlan_out = shared(dhcpr_cfg.route_vlan).load();
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr get route vlan, tag %d vlan %d\r\n", *tag_out, *vlan_out);
  return 0;
}

int DHCPR_set_dhcp_option82_switch(int on) {
  dhcpr_cfg.option82.store(on);
  return 0;
}

int DHCPR_get_option82_status() { return dhcpr_cfg.option82.load(); }

/// Relay and server answer the same frames: only one of them may be on.
int DHCPR_start(int status) {
  if (status == dhcpr_cfg.status.load()) return 0;
  if (status == DHCPR_OFF) return DHCPR_stop();
  if (dhcp::base::server_on()) return -1;
  if (!dhcp::base::snooping_on()) open_dhcp_cpu();
  if (status == DHCPR_ON_MANAGEMENT_VLAN) set_tag_mode(mode_helper_vlan, 0);
  dhcpr_cfg.status.store(static_cast<uint8_t>(status));
  return 0;
}

/// The chip rules stay while another service lives on them. The tag mode stays, too.
int DHCPR_stop() {
  if (!dhcp::base::snooping_on() && !dhcp::base::server_on()) close_dhcp_cpu();
  dhcpr_cfg.status.store(DHCPR_OFF);
  return 0;
}

int DHCPR_get_sts(int* out) {
  if (out == nullptr) return -1;
  *out = dhcpr_cfg.status.load();
  DHCP_LOG_AT(module_frame, settings_log, "dhcpr get status %d...\r\n", *out);
  return 0;
}

int DHCPC_get_client_start() { return 0; }
