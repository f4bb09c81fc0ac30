#include "snooping/bindings.h"

#include <cstring>

#include "base/log.h"

namespace dhcp::snooping {

namespace {

constexpr const char* table_name = "DHCPS_table";

bool same_mac(const MacBindStruct& one, const MacBindStruct& other) { return memcmp(one.mac, other.mac, 6) == 0; }

}  // namespace

void BindingRules::attach(Entry& entry) {
  if (entry.verify == nullptr) entry.verify = find_MacVerifyStruct(entry.mac, 0);
}

bool BindingRules::may_enter(const Entry& entry) {
  const int32_t count = g_dhcp_snooping.bind_count;
  if (count >= enter_limit) {
    DHCP_LOG(base::module_service, table_name, "Current count[%d] had reached the max bind list count\n", count);
    return false;
  }
  if (entry.vlan == 0 || entry.ip == 0) {
    DHCP_LOG(base::module_service, table_name, "The entry vlan or ipaddr is zero\n");
    return false;
  }
  return true;
}

bool BindingRules::make_way(const Entry& newcomer, Entry& holder) {
  if (!same_mac(newcomer, holder) || newcomer.intf != holder.intf) {
    DHCP_LOG(base::module_service, table_name, "Delete the mac bind entry\n");
    bindings.erase(holder);
  } else {
    DHCP_LOG(base::module_service, table_name, "Find the same mac and the same interface ip bind entry\n");
    bindings.leave_address(holder);
  }
  return true;
}

void BindingRules::entered(Entry& entry, unsigned bucket, int32_t count) {
  DHCP_LOG(base::module_service, table_name, "This hash[%d] have list entry count[%d]\n", static_cast<int>(bucket),
           count);
  tell_neighbours_entered(entry);
}

void BindingRules::left(Entry& entry) { tell_neighbours_left(entry); }

void BindingRules::erasing(Entry& entry) {
  if (entry.verify != nullptr) del_MacVerifyStruct(entry.mac);
}

}  // namespace dhcp::snooping

using dhcp::snooping::bindings;

int get_mac_bind_entry_count() { return g_dhcp_snooping.bind_count; }

MacBindStruct* find_MacBindStruct(const uint8_t* mac, int create) {
  return create == 1 ? bindings.find_or_create(mac) : bindings.find(mac);
}

void insert_MacBindStruct_list(DhcpListHead* head, MacBindStruct* entry) {
  dhcp::base::list_add_head(*head, entry->mac_link);
}

void __del_MacBindStruct(MacBindStruct* entry) { bindings.erase(*entry); }

int del_MacBindStruct(const uint8_t* mac, uint32_t intf) {
  MacBindStruct* found = bindings.find(mac);
  if (found == nullptr || found->intf != intf) return -1;
  bindings.erase(*found);
  return 0;
}

void insert_VlanIp_list(DhcpListHead* head, MacBindStruct* entry) { dhcp::base::list_add_head(*head, entry->ip_link); }

void insert_VlanIp_table(MacBindStruct* entry) { bindings.enter_address(*entry); }
void del_VlanIp_table(MacBindStruct* entry) { bindings.leave_address(*entry); }
MacBindStruct* find_VlanIp_entry(int vlan, uint32_t ip) { return bindings.find_address(vlan, ip); }

MacBindStruct* arp_find_VlanIp_entry(int vlan, uint32_t ip, const uint8_t* mac, uint32_t intf) {
  const dhcp::snooping::SnoopingLock lock;
  MacBindStruct* found = bindings.find_address(vlan, ip);
  return found != nullptr && memcmp(found->mac, mac, 6) == 0 && found->intf == intf ? found : nullptr;
}
