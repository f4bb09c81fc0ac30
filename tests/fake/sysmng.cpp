/// VLANs and VLAN interfaces.
#include "platform/sysmng.h"

#include <cstring>

#include "platform/text.h"
#include "tests/fake/device.h"

int sysmng_vlan_is_mng_vlan(uint32_t vlan) { return fake::device().vlan_interfaces.count(vlan) != 0 ? 1 : 0; }

int sysmng_get_vlan_by_ipaddr(uint32_t ip) {
  for (const auto& [vlan, interface] : fake::device().vlan_interfaces) {
    if (interface.ip == ip) return static_cast<int>(vlan);
  }
  return 0;
}

int sysmng_get_vlan_by_ip6addr(const uint8_t ip6[16]) {
  for (const auto& [vlan, interface] : fake::device().vlan_interfaces) {
    uint8_t own[16];
    if (strtoip6(interface.ip6.c_str(), own) == 0 && memcmp(own, ip6, sizeof own) == 0) return static_cast<int>(vlan);
  }
  return 0;
}

int sysmng_vlan_get(int kind, sysmng_vlan_list* out) {
  out->count = 0;
  if (kind != 2) return -1;
  const auto& order = fake::device().layer3_vlans;
  for (const uint16_t vlan : order) out->vid[out->count++] = vlan;
  for (const auto& [vlan, interface] : fake::device().vlan_interfaces) {
    if (order.empty()) out->vid[out->count++] = static_cast<uint16_t>(vlan);
  }
  return 0;
}

int sysmng_vlan_info_get(uint32_t vlan, sysmng_vlan_info* out) {
  const auto found = fake::device().vlan_interfaces.find(vlan);
  if (found == fake::device().vlan_interfaces.end()) return 0;
  const fake::VlanInterface& interface = found->second;
  *out = {};
  out->vlan = vlan;
  out->ip = interface.ip;
  out->mask = interface.mask;
  out->gateway = interface.gateway;
  out->prefix6 = interface.prefix6;
  interface.ip6.copy(out->ip6, sizeof out->ip6 - 1);
  interface.gateway6.copy(out->gateway6, sizeof out->gateway6 - 1);
  return 1;
}

int get_mac_aging_time(uint32_t* seconds) {
  *seconds = fake::device().mac_ageing_s;
  return 0;
}

int get_dev_mac(const char*, uint8_t mac[6]) {
  if (fake::device().mac_is_unknown) return -1;
  memcpy(mac, fake::Device::default_mac.data(), 6);
  return 0;
}

int sysmng_get_mac(char text[18]) {
  onu_mac2str(fake::Device::default_mac.data(), text);
  return 0;
}

int sysmng_vlan_static_ip6addr(uint32_t vlan, const char* addr_slash_len, int on) {
  const std::string address = addr_slash_len == nullptr ? "none" : addr_slash_len;
  fake::device().call("ip6(" + std::to_string(vlan) + ", " + address + ", " + std::to_string(on) + ")");
  return fake::device().ip6_answer;
}

int get_vlan_valid(uint32_t vlan, int kind) {
  return kind == 2 && fake::device().missing_vlans.count(vlan) == 0 ? 0 : -1;
}

int probe_dynamic_get_ip_dev_change() {
  fake::device().call("probe_dynamic_get_ip_dev_change");
  return 0;
}
