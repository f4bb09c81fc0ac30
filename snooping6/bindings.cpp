#include "snooping6/bindings.h"

namespace dhcp::snooping6 {

bool BindingRules::make_room(unsigned bucket) {
  bindings.age_bucket(bucket);
  return true;
}

void set_address(MacBind6Struct& binding, const base::Ip6& ip) {
  if (BindingRules::address(binding) != ip) bindings.leave_address(binding);
  ip.copy_to(binding.ip6);
}

}  // namespace dhcp::snooping6

using namespace dhcp;
using snooping6::bindings;
using snooping6::Lock;

MacBind6Struct* find_MacBind6Struct(const uint8_t* mac, int create) {
  const Lock lock;
  return create == 1 ? bindings.find_or_create(mac) : bindings.find(mac);
}

void __del_MacBind6Struct(MacBind6Struct* entry) {
  const Lock lock;
  bindings.erase(*entry);
}

int del_MacBind6Struct(const uint8_t* mac) {
  const Lock lock;
  MacBind6Struct* found = bindings.find(mac);
  if (found == nullptr) return -1;
  bindings.erase(*found);
  return 0;
}

void insert_VlanIp6_table(MacBind6Struct* entry) {
  const Lock lock;
  bindings.enter_address(*entry);
}

void del_VlanIp6_table(MacBind6Struct* entry) {
  const Lock lock;
  bindings.leave_address(*entry);
}

MacBind6Struct* find_VlanIp6_entry(int vlan, const uint8_t* ip6) {
  const Lock lock;
  return bindings.find_address(vlan, base::Ip6::from(ip6));
}
