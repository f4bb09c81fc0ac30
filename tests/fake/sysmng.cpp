/// VLANs and VLAN interfaces.
#include "platform/sysmng.h"

#include <cstring>

#include "tests/fake/device.h"

int sysmng_vlan_is_mng_vlan(uint32_t vlan) { return fake::device().vlan_interfaces.count(vlan) != 0 ? 1 : 0; }

int sysmng_get_vlan_by_ipaddr(uint32_t ip) {
  for (const auto& [vlan, interface] : fake::device().vlan_interfaces) {
    if (interface.ip == ip) return static_cast<int>(vlan);
  }
  return 0;
}

int get_dev_mac(const char*, uint8_t mac[6]) {
  memcpy(mac, fake::Device::default_mac.data(), 6);
  return 0;
}

int get_vlan_valid(uint32_t vlan, int kind) {
  return kind == 2 && fake::device().missing_vlans.count(vlan) == 0 ? 0 : -1;
}

int probe_dynamic_get_ip_dev_change() {
  fake::device().call("probe_dynamic_get_ip_dev_change");
  return 0;
}
