/// Clearing of bindings under the names of its seventeen members.
#include <array>

#include "base/log.h"
#include "binding/clears.h"
#include "snooping/bindings.h"

namespace {

using namespace dhcp;

using Wanted = binding::Wanted<uint32_t>;

/// How a type's member is called and what it says; null = nothing.
struct Member {
  const char* name;
  const char* text;
};

/// In the order of the type codes.
constexpr std::array<Member, binding::key_sets.size()> members{{
    {"dhcp_snoop_binds_clear_all", "clear all dhcp snooping binding"},
    {"dhcp_snoop_binds_clear_ip", "clear dhcp snooping binding by ip"},
    {"dhcp_snoop_binds_clear_ip_mac", "clear dhcp snooping binding by ip mac"},
    {"dhcp_snoop_binds_clear_ip_mac_intf", "clear dhcp snooping binding by ip mac intf"},
    {"dhcp_snoop_binds_clear_ip_mac_vlan", "clear dhcp snooping binding by ip mac vlan"},
    {"dhcp_snoop_binds_clear_ip_mac_vlan_intf", "clear dhcp snooping binding by ip mac vlan intf"},
    {"dhcp_snoop_binds_clear_ip_intf", "clear dhcp snooping binding by ip intf"},
    {"dhcp_snoop_binds_clear_ip_vlan", "clear dhcp snooping binding by ip vlan"},
    {"dhcp_snoop_binds_clear_ip_vlan_intf", "clear dhcp snooping binding by ip vlan intf"},
    {"dhcp_snoop_binds_clear_mac", "clear dhcp snooping binding by mac"},
    {"dhcp_snoop_binds_clear_mac_intf", "clear dhcp snooping binding by mac intf"},
    {"dhcp_snoop_binds_clear_mac_vlan", "clear dhcp snooping binding by mac vlan"},
    {"dhcp_snoop_binds_clear_mac_vlan_intf", "clear dhcp snooping binding by mac vlan intf"},
    {"dhcp_snoop_binds_clear_intf", nullptr},
    {"dhcp_snoop_binds_clear_dynamic_intf", nullptr},
    {"dhcp_snoop_binds_clear_vlan", nullptr},
    {"dhcp_snoop_binds_clear_vlan_intf", "clear dhcp snooping binding by vlan intf"},
}};

/// Deletes the bindings that match. The caller holds the lock.
int clear(size_t type, const Wanted& wanted) {
  binding::erase_matching(snooping::bindings, binding::key_sets[type], wanted);
  const Member& member = members[type];
  if (member.text != nullptr) {
    DHCP_LOG_FROM(member.name, __LINE__, 7, base::module_service, "DHCPS_clear", "[%s:%d]%s", member.name, __LINE__,
                  member.text);
  }
  return 0;
}

}  // namespace

int dhcp_snooping_binding_clear(int type, uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf) {
  const snooping::SnoopingLock lock;
  if (type < 0 || static_cast<size_t>(type) >= members.size()) return 0;
  return clear(static_cast<size_t>(type), {ip, binding::mac_or_zeros(mac), vlan, intf});
}

int dhcp_snoop_binds_clear_all() { return clear(0, {}); }
int dhcp_snoop_binds_clear_ip(uint32_t ip) { return clear(1, {.address = ip}); }
int dhcp_snoop_binds_clear_ip_mac(uint32_t ip, const uint8_t* mac) {
  return clear(2, {.address = ip, .mac = binding::mac_or_zeros(mac)});
}
int dhcp_snoop_binds_clear_ip_mac_intf(uint32_t ip, const uint8_t* mac, uint32_t intf) {
  return clear(3, {.address = ip, .mac = binding::mac_or_zeros(mac), .intf = intf});
}
int dhcp_snoop_binds_clear_ip_mac_vlan(uint32_t ip, const uint8_t* mac, int vlan) {
  return clear(4, {.address = ip, .mac = binding::mac_or_zeros(mac), .vlan = vlan});
}
int dhcp_snoop_binds_clear_ip_mac_vlan_intf(uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf) {
  return clear(5, {.address = ip, .mac = binding::mac_or_zeros(mac), .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_ip_intf(uint32_t ip, uint32_t intf) { return clear(6, {.address = ip, .intf = intf}); }
int dhcp_snoop_binds_clear_ip_vlan(uint32_t ip, int vlan) { return clear(7, {.address = ip, .vlan = vlan}); }
int dhcp_snoop_binds_clear_ip_vlan_intf(uint32_t ip, int vlan, uint32_t intf) {
  return clear(8, {.address = ip, .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_mac(const uint8_t* mac) { return clear(9, {.mac = binding::mac_or_zeros(mac)}); }
int dhcp_snoop_binds_clear_mac_intf(const uint8_t* mac, uint32_t intf) {
  return clear(10, {.mac = binding::mac_or_zeros(mac), .intf = intf});
}
int dhcp_snoop_binds_clear_mac_vlan(const uint8_t* mac, int vlan) {
  return clear(11, {.mac = binding::mac_or_zeros(mac), .vlan = vlan});
}
int dhcp_snoop_binds_clear_mac_vlan_intf(const uint8_t* mac, int vlan, uint32_t intf) {
  return clear(12, {.mac = binding::mac_or_zeros(mac), .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_intf(uint32_t intf) { return clear(13, {.intf = intf}); }
int dhcp_snoop_binds_clear_dynamic_intf(uint32_t intf) { return clear(14, {.intf = intf}); }
int dhcp_snoop_binds_clear_vlan(int vlan) { return clear(15, {.vlan = vlan}); }
int dhcp_snoop_binds_clear_vlan_intf(int vlan, uint32_t intf) { return clear(16, {.vlan = vlan, .intf = intf}); }
