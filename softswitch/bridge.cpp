#include "softswitch/bridge.h"

#include <cstring>

namespace dhcp::softswitch {
namespace {

bool is_group(const uint8_t* mac) { return (mac[0] & 1) != 0; }

bool is_link_local_group(const uint8_t* mac) {
  static constexpr uint8_t prefix[5] = {0x01, 0x80, 0xc2, 0x00, 0x00};
  return std::memcmp(mac, prefix, sizeof prefix) == 0 && mac[5] < 16;
}

}  // namespace

bool Bridge::acceptable(const uint8_t* frame) const {
  const uint8_t* const source = frame + mac_size;
  return !is_link_local_group(frame) && !is_group(source) && std::memcmp(source, cpu_mac.data(), mac_size) != 0;
}

bool Bridge::to_cpu(const uint8_t* destination, uint16_t vlan) const {
  return cpu_vlans[vlan] && std::memcmp(destination, cpu_mac.data(), mac_size) == 0;
}

Decision Bridge::decide(uint16_t vlan, const uint8_t* destination, uint32_t ingress) const {
  const PortSet others = vlans.members(vlan) & ~(ingress == 0 ? 0 : port_bit(ingress));
  if (to_cpu(destination, vlan)) return {0, ingress != 0};
  if (!is_group(destination)) {
    const uint32_t intf = macs.find(vlan, destination);
    if (intf != 0) return {others & port_bit(intf), false};
  }
  return {others, ingress != 0 && is_group(destination) && cpu_vlans[vlan]};
}

}  // namespace dhcp::softswitch
