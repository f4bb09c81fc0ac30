#include "softswitch/vlan_map.h"

#include <algorithm>

namespace dhcp::softswitch {

VlanMap::VlanMap() : members_(max_vlan + 1), ports_(most_ports + 1) { create(1); }

bool VlanMap::member(const Port& port, uint16_t vlan) const {
  if (!exists_[vlan]) return false;
  if (port.mode == PortMode::access) return port.access == vlan;
  return port.allowed.empty() || std::binary_search(port.allowed.begin(), port.allowed.end(), vlan);
}

void VlanMap::refresh(uint32_t port) {
  for (uint16_t vlan = 1; vlan <= max_vlan; ++vlan) {
    const bool was = (members_[vlan] & port_bit(port)) != 0;
    if (was != member(ports_[port], vlan)) members_[vlan] ^= port_bit(port);
  }
}

void VlanMap::set_port(uint32_t port, PortMode mode, uint16_t access_vlan, uint16_t native_vlan,
                       const std::vector<uint16_t>& allowed) {
  Port& p = ports_[port];
  p = {mode, access_vlan, native_vlan, allowed};
  std::sort(p.allowed.begin(), p.allowed.end());
  refresh(port);
}

bool VlanMap::create(uint16_t vlan) {
  if (vlan == 0 || vlan > max_vlan || exists_[vlan]) return false;
  exists_.set(vlan);
  for (uint32_t port = 1; port <= most_ports; ++port)
    if (member(ports_[port], vlan)) members_[vlan] |= port_bit(port);
  return true;
}

bool VlanMap::remove(uint16_t vlan) {
  if (!exists(vlan)) return false;
  exists_.reset(vlan);
  members_[vlan] = 0;
  return true;
}

std::vector<uint16_t> VlanMap::list() const {
  std::vector<uint16_t> vlans;
  for (uint16_t vlan = 1; vlan <= max_vlan; ++vlan)
    if (exists_[vlan]) vlans.push_back(vlan);
  return vlans;
}

std::optional<uint16_t> VlanMap::classify(uint32_t port, std::optional<uint16_t> tag) const {
  const Port& p = ports_[port];
  // VLAN id 0 is a priority tag: the frame belongs where an untagged one does (IEEE 802.1Q).
  const uint16_t vlan = tag.value_or(0) != 0 ? *tag : p.mode == PortMode::access ? p.access : p.native;
  if (vlan > max_vlan || (members_[vlan] & port_bit(port)) == 0) return std::nullopt;
  return vlan;
}

bool VlanMap::leaves_tagged(uint32_t port, uint16_t vlan) const {
  const Port& p = ports_[port];
  return p.mode == PortMode::trunk && p.native != vlan;
}

bool VlanMap::uses(uint32_t port, uint16_t vlan) const {
  const Port& p = ports_[port];
  if (p.mode == PortMode::access) return p.access == vlan;
  return p.native == vlan || std::binary_search(p.allowed.begin(), p.allowed.end(), vlan);
}

}  // namespace dhcp::softswitch
