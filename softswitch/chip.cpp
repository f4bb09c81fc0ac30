/// The device's chip calls on the fabric.
#include <cstring>

#include "platform/adp.h"
#include "softswitch/fabric.h"
#include "softswitch/queue_thread.h"

using namespace dhcp::softswitch;

namespace {

constexpr int protocol_dhcp = 1, dhcp_queue = 2;

}  // namespace

int __adp_transmit_frame(skpack* skp, intf_order_list* ports, uint32_t vlan, int mode) {
  return fabric().transmit(*skp, ports, vlan, mode, drains_queue());
}

int adp_fp_add_entity_action(adp_fp_entity* entity, int code, uint32_t value) {
  if (entity->actions < 0 || entity->actions >= 4) return -1;
  entity->action[entity->actions++] = {code, value};
  return 0;
}

int adp_fp_add_entity_qualify(adp_fp_entity* entity, int code, const void* data, const void* mask, int len) {
  if (entity->qualifiers < 0 || entity->qualifiers >= 4 || len <= 0 || len > 32) return -1;
  auto& qualify = entity->qualify[entity->qualifiers++];
  qualify.code = code;
  qualify.len = len;
  const auto size = static_cast<size_t>(len);
  std::memcpy(qualify.data, data, size);
  if (mask != nullptr) {
    std::memcpy(qualify.mask, mask, size);
  } else {
    std::memset(qualify.mask, 0xff, size);
  }
  return 0;
}

int adp_fp_add_entity_rule(uint32_t group, uint32_t rule, const adp_fp_entity* entity) {
  return fabric().with([&](FabricState& s) { return s.rules.install(group, rule, *entity); }) ? 0 : -1;
}

int adp_fp_delete_entity_rule(uint32_t group, uint32_t rule) {
  return fabric().with([&](FabricState& s) { return s.rules.remove(group, rule); }) ? 0 : -1;
}

int adp_get_max_phy_port_num() { return static_cast<int>(fabric().port_count()); }

int adp_get_intf_by_addr(const uint8_t mac[6], uint32_t vlan, uint32_t* intf) {
  if (vlan > max_vlan) return -1;
  const uint32_t found =
      fabric().with([&](FabricState& s) { return s.bridge.macs.find(static_cast<uint16_t>(vlan), mac); });
  if (found == 0) return -1;
  *intf = found;
  return 0;
}

int port_in_aggport(uint32_t /*port*/, uint32_t* /*group*/) { return -1; }  // no port is in a group

int user_cosq_mapping_get(int protocol, int* cos) {
  if (protocol != protocol_dhcp) return -1;
  *cos = dhcp_queue;
  return 0;
}

int user_rx_cos_rate_set(int cos, int pps) {
  if (cos < 0 || pps < 0) return -1;
  const auto queue = static_cast<uint32_t>(cos);
  return fabric().with([&](FabricState& s) { return s.limits.set(queue, static_cast<uint32_t>(pps)); }) ? 0 : -1;
}
