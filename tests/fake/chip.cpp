/// The switching chip: it dissects what it receives, keeps the rules, and records what is sent.
#include <cstring>

#include "platform/adp.h"
#include "tests/fake/device.h"

namespace {

constexpr uint32_t tag_size = 4, ethernet_size = 14, ip_size = 20, ip6_size = 40;

std::vector<uint32_t> listed(intf_order_list* list) {
  std::vector<uint32_t> ports;
  if (list == nullptr) return ports;
  const auto* end = reinterpret_cast<intf_order_node*>(list);
  for (const intf_order_node* node = list->next; node != end; node = node->next) ports.push_back(node->ifindex);
  return ports;
}

}  // namespace

int __adp_receive_frame(skpack* skp, int) {
  if (fake::device().frames_are_unusable) return -1;
  if (skp->psize < ethernet_size) return 0;
  const bool tagged = skp->data[12] == 0x81 && skp->data[13] == 0;
  const uint32_t ip = ethernet_size + (tagged ? tag_size : 0);
  const bool is_ip6 = skp->psize >= ip && skp->data[ip - 2] == 0x86;
  const uint32_t header_size = is_ip6 ? ip6_size : ip_size;
  uint8_t* const header = skp->psize >= ip + header_size ? skp->data + ip : nullptr;
  skp->vlan_tag = tagged ? skp->data + 12 : nullptr;
  (is_ip6 ? skp->ip6_hdr : skp->ip_hdr) = header;
  skp->ud_hdr = header != nullptr ? header + header_size : nullptr;
  return 0;
}

int __adp_transmit_frame(skpack* skp, intf_order_list* ports, uint32_t vlan, int mode) {
  fake::device().record(&fake::Device::sent_,
                        {{skp->data, skp->data + skp->psize}, ports == nullptr, listed(ports), vlan, mode});
  return 0;
}

void skpack_release(skpack* skp) { fake::device().record(&fake::Device::released_, skp); }

int adp_fp_add_entity_action(adp_fp_entity* entity, int code, uint32_t value) {
  if (entity->actions == 4) return -1;
  entity->action[entity->actions++] = {code, value};
  return 0;
}

int adp_fp_add_entity_qualify(adp_fp_entity* entity, int code, const void* data, const void* mask, int len) {
  if (entity->qualifiers == 4 || len > 32) return -1;
  auto& qualify = entity->qualify[entity->qualifiers++];
  qualify.code = code;
  qualify.len = len;
  memcpy(qualify.data, data, static_cast<size_t>(len));
  memcpy(qualify.mask, mask, static_cast<size_t>(len));
  return 0;
}

int adp_fp_add_entity_rule(uint32_t group, uint32_t rule, const adp_fp_entity* entity) {
  if (fake::device().chip_refuses_rules) return -1;
  const std::lock_guard lock(fake::device().mutex_);
  fake::device().rules_[{group, rule}] = *entity;
  return 0;
}

int adp_fp_delete_entity_rule(uint32_t group, uint32_t rule) {
  const std::lock_guard lock(fake::device().mutex_);
  return fake::device().rules_.erase({group, rule}) == 1 ? 0 : -1;
}

int adp_get_max_phy_port_num() { return fake::device().physical_ports; }

int adp_get_intf_by_addr(const uint8_t mac[6], uint32_t vlan, uint32_t* intf) {
  fake::Mac key;
  memcpy(key.data(), mac, key.size());
  const auto& table = fake::device().mac_table;
  const auto found = table.find({key, vlan});
  if (found == table.end()) return -1;
  *intf = found->second;
  return 0;
}

int port_in_aggport(uint32_t port, uint32_t* group) {
  const auto found = fake::device().group_of_port.find(port);
  if (found == fake::device().group_of_port.end()) return -1;
  *group = found->second;
  return 0;
}

/// Every protocol has the queue of its own number, seven later.
int user_cosq_mapping_get(int protocol, int* cos) { return *cos = protocol + 7, 0; }

int user_rx_cos_rate_set(int cos, int pps) {
  fake::device().call("user_rx_cos_rate_set(" + std::to_string(cos) + "," + std::to_string(pps) + ")");
  return 0;
}
