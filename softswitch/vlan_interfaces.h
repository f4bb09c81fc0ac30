/// The CPU's own interfaces: eth0, and one eth0.<vlan> for every VLAN interface, with their addresses.
///
/// Each is one end of a veth pair whose other end (cpu, cpu.<vlan>) the fabric drives, so that the module's sockets
/// and interface queries meet real kernel interfaces. Changes are serialised by one lock that may be held over system
/// calls; what the module asks for on every message is read under a second one that never is.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/sysmng.h"
#include "softswitch/control.h"

namespace dhcp::softswitch {

class VlanInterfaces {
 public:
  VlanInterfaces() = default;
  ~VlanInterfaces() { clear(); }
  VlanInterfaces(const VlanInterfaces&) = delete;
  VlanInterfaces& operator=(const VlanInterfaces&) = delete;

  /// Makes eth0. Refused when the network namespace has an eth0 already, or another switch runs in it.
  Refusal setup(const std::array<uint8_t, 6>& mac);
  void clear();  // takes every interface away again

  Refusal create(uint16_t vlan);
  Refusal remove(uint16_t vlan);
  Refusal set_ip(uint16_t vlan, uint32_t ip, uint32_t mask);
  Refusal set_gateway(uint16_t vlan, uint32_t gateway);
  Refusal set_ip6(uint16_t vlan, const std::string& addr_slash_len);
  /// A link-local address, or one of the configured address's prefix.
  Refusal set_gateway6(uint16_t vlan, const std::string& addr);
  /// The address that the DHCPv6 client obtained; it is not part of the configuration.
  Refusal set_leased_ip6(uint16_t vlan, const std::string& addr_slash_len);

  std::vector<VlanInterface> list() const;
  /// The interface with its addresses in force, configured or leased, in the form that the module asks for.
  bool find(uint32_t vlan, sysmng_vlan_info& out) const;
  bool exists(uint32_t vlan) const;
  uint32_t vlan_of(uint32_t ip) const;  // of an own address, 0 = not ours
  uint32_t vlan_of(const uint8_t ip6[16]) const;

 private:
  struct Entry {
    VlanInterface shown;
    std::string leased_ip6;
    sysmng_vlan_info told;  // made with each change: it is asked for with every message
  };
  template <class Change>
  void store(uint16_t vlan, Change change);
  Refusal check_ip(uint16_t vlan, uint32_t ip, uint32_t mask) const;
  Refusal replace_ip6(uint16_t vlan, const std::string& before, const std::string& after) const;

  std::mutex changing_;
  std::array<uint8_t, 6> mac_{};
  int claim_ = -1;  // a socket that marks the network namespace as taken
  bool made_ = false;

  mutable std::mutex lock_;
  std::map<uint16_t, Entry> entries_;  // changed only with both locks held
  std::unordered_map<uint32_t, uint16_t> by_ip_;
};

VlanInterfaces& vlan_interfaces();

/// "eth0.<vlan>"
std::string host_interface(uint16_t vlan);

}  // namespace dhcp::softswitch
