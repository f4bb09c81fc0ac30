/// Clearing of bindings: one predicate over a set of keys, and the seventeen sets that the host may name.
#include <array>
#include <cstring>

#include "base/log.h"
#include "snooping/bindings.h"

namespace {

using namespace dhcp;
using dhcp::snooping::bindings;

enum Keys : unsigned { everything = 0, by_ip = 1, by_mac = 2, by_vlan = 4, by_intf = 8, dynamic_only = 16 };

/// One set; where `text` is null the clear says nothing.
struct Clear {
  const char* name;
  unsigned keys;
  const char* text;
};

/// In the order of the type codes.
constexpr std::array<Clear, 17> clears{{
    {"dhcp_snoop_binds_clear_all", everything, "clear all dhcp snooping binding"},
    {"dhcp_snoop_binds_clear_ip", by_ip, "clear dhcp snooping binding by ip"},
    {"dhcp_snoop_binds_clear_ip_mac", by_ip | by_mac, "clear dhcp snooping binding by ip mac"},
    {"dhcp_snoop_binds_clear_ip_mac_intf", by_ip | by_mac | by_intf, "clear dhcp snooping binding by ip mac intf"},
    {"dhcp_snoop_binds_clear_ip_mac_vlan", by_ip | by_mac | by_vlan, "clear dhcp snooping binding by ip mac vlan"},
    {"dhcp_snoop_binds_clear_ip_mac_vlan_intf", by_ip | by_mac | by_vlan | by_intf,
     "clear dhcp snooping binding by ip mac vlan intf"},
    {"dhcp_snoop_binds_clear_ip_intf", by_ip | by_intf, "clear dhcp snooping binding by ip intf"},
    {"dhcp_snoop_binds_clear_ip_vlan", by_ip | by_vlan, "clear dhcp snooping binding by ip vlan"},
    {"dhcp_snoop_binds_clear_ip_vlan_intf", by_ip | by_vlan | by_intf, "clear dhcp snooping binding by ip vlan intf"},
    {"dhcp_snoop_binds_clear_mac", by_mac, "clear dhcp snooping binding by mac"},
    {"dhcp_snoop_binds_clear_mac_intf", by_mac | by_intf, "clear dhcp snooping binding by mac intf"},
    {"dhcp_snoop_binds_clear_mac_vlan", by_mac | by_vlan, "clear dhcp snooping binding by mac vlan"},
    {"dhcp_snoop_binds_clear_mac_vlan_intf", by_mac | by_vlan | by_intf,
     "clear dhcp snooping binding by mac vlan intf"},
    {"dhcp_snoop_binds_clear_intf", by_intf, nullptr},
    {"dhcp_snoop_binds_clear_dynamic_intf", by_intf | dynamic_only, nullptr},
    {"dhcp_snoop_binds_clear_vlan", by_vlan, nullptr},
    {"dhcp_snoop_binds_clear_vlan_intf", by_vlan | by_intf, "clear dhcp snooping binding by vlan intf"},
}};

/// What a call without a MAC compares with.
constexpr uint8_t no_mac[6] = {};

/// What the keys are compared with; those that a set does not use stay unread.
struct Wanted {
  uint32_t ip = 0;
  const uint8_t* mac = no_mac;
  int vlan = 0;
  uint32_t intf = 0;
};

bool matches(const MacBindStruct& binding, unsigned keys, const Wanted& wanted) {
  if ((keys & by_ip) != 0 && binding.ip != wanted.ip) return false;
  if ((keys & by_mac) != 0 && memcmp(binding.mac, wanted.mac, sizeof binding.mac) != 0) return false;
  if ((keys & by_vlan) != 0 && binding.vlan != wanted.vlan) return false;
  if ((keys & by_intf) != 0 && binding.intf != wanted.intf) return false;
  return (keys & dynamic_only) == 0 || binding.is_static == 0;
}

/// Deletes the bindings that match. The caller holds the lock.
int clear(const Clear& set, const Wanted& wanted) {
  const auto delete_matching = [&](MacBindStruct& binding) {
    if (matches(binding, set.keys, wanted)) bindings.erase(binding);
  };
  // A wanted MAC lies in one bucket.
  if ((set.keys & by_mac) != 0) {
    bindings.each_in_bucket(binding::mac_bucket(wanted.mac), delete_matching);
  } else {
    bindings.each(delete_matching);
  }
  if (set.text != nullptr) {
    DHCP_LOG_FROM(set.name, __LINE__, 7, base::module_service, "DHCPS_clear", "[%s:%d]%s", set.name, __LINE__,
                  set.text);
  }
  return 0;
}

}  // namespace

int dhcp_snooping_binding_clear(int type, uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf) {
  const snooping::SnoopingLock lock;
  if (type < 0 || static_cast<size_t>(type) >= clears.size()) return 0;
  return clear(clears[static_cast<size_t>(type)], {ip, mac != nullptr ? mac : no_mac, vlan, intf});
}

int dhcp_snoop_binds_clear_all() { return clear(clears[0], {}); }
int dhcp_snoop_binds_clear_ip(uint32_t ip) { return clear(clears[1], {.ip = ip}); }
int dhcp_snoop_binds_clear_ip_mac(uint32_t ip, const uint8_t* mac) { return clear(clears[2], {.ip = ip, .mac = mac}); }
int dhcp_snoop_binds_clear_ip_mac_intf(uint32_t ip, const uint8_t* mac, uint32_t intf) {
  return clear(clears[3], {.ip = ip, .mac = mac, .intf = intf});
}
int dhcp_snoop_binds_clear_ip_mac_vlan(uint32_t ip, const uint8_t* mac, int vlan) {
  return clear(clears[4], {.ip = ip, .mac = mac, .vlan = vlan});
}
int dhcp_snoop_binds_clear_ip_mac_vlan_intf(uint32_t ip, const uint8_t* mac, int vlan, uint32_t intf) {
  return clear(clears[5], {.ip = ip, .mac = mac, .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_ip_intf(uint32_t ip, uint32_t intf) { return clear(clears[6], {.ip = ip, .intf = intf}); }
int dhcp_snoop_binds_clear_ip_vlan(uint32_t ip, int vlan) { return clear(clears[7], {.ip = ip, .vlan = vlan}); }
int dhcp_snoop_binds_clear_ip_vlan_intf(uint32_t ip, int vlan, uint32_t intf) {
  return clear(clears[8], {.ip = ip, .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_mac(const uint8_t* mac) { return clear(clears[9], {.mac = mac}); }
int dhcp_snoop_binds_clear_mac_intf(const uint8_t* mac, uint32_t intf) {
  return clear(clears[10], {.mac = mac, .intf = intf});
}
int dhcp_snoop_binds_clear_mac_vlan(const uint8_t* mac, int vlan) {
  return clear(clears[11], {.mac = mac, .vlan = vlan});
}
int dhcp_snoop_binds_clear_mac_vlan_intf(const uint8_t* mac, int vlan, uint32_t intf) {
  return clear(clears[12], {.mac = mac, .vlan = vlan, .intf = intf});
}
int dhcp_snoop_binds_clear_intf(uint32_t intf) { return clear(clears[13], {.intf = intf}); }
int dhcp_snoop_binds_clear_dynamic_intf(uint32_t intf) { return clear(clears[14], {.intf = intf}); }
int dhcp_snoop_binds_clear_vlan(int vlan) { return clear(clears[15], {.vlan = vlan}); }
int dhcp_snoop_binds_clear_vlan_intf(int vlan, uint32_t intf) {
  return clear(clears[16], {.vlan = vlan, .intf = intf});
}
