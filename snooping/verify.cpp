/// MACs that the source check treats in a way of their own: at most ten, in 256 buckets by the sum of their bytes.
#include <cstring>
#include <new>

#include "snooping/bindings.h"

namespace {

using dhcp::binding::mac_bucket;

constexpr int32_t max_verify_macs = 10;

/// The link that points at the MAC's entry, or the null link at the end of its bucket.
MacVerifyStruct** link_to(const uint8_t* mac) {
  MacVerifyStruct** link = &g_dhcp_snooping.verify_bucket[mac_bucket(mac)];
  while (*link != nullptr && memcmp((*link)->mac, mac, 6) != 0) link = &(*link)->next;
  return link;
}

/// No binding may keep a pointer to an entry that goes.
void detach_bindings(const MacVerifyStruct* entry) {
  dhcp::snooping::bindings.each_in_bucket(mac_bucket(entry->mac), [entry](MacBindStruct& binding) {
    if (binding.verify == entry) binding.verify = nullptr;
  });
}

MacVerifyStruct* create(const uint8_t* mac) {
  if (g_dhcp_snooping.verify_count >= max_verify_macs) return nullptr;
  auto* entry = new (std::nothrow) MacVerifyStruct{};
  if (entry == nullptr) return nullptr;
  memcpy(entry->mac, mac, 6);
  const unsigned bucket = mac_bucket(mac);
  insert_MacVerifyStruct_list(&g_dhcp_snooping.verify_bucket[bucket], entry);
  ++g_dhcp_snooping.verify_bucket_count[bucket];
  ++g_dhcp_snooping.verify_count;
  return entry;
}

}  // namespace

MacVerifyStruct* find_MacVerifyStruct(const uint8_t* mac, int create_missing) {
  MacVerifyStruct* found = *link_to(mac);
  return found == nullptr && create_missing == 1 ? create(mac) : found;
}

int del_MacVerifyStruct(const uint8_t* mac) {
  MacVerifyStruct** link = link_to(mac);
  MacVerifyStruct* entry = *link;
  if (entry == nullptr) return -1;
  detach_bindings(entry);
  *link = entry->next;
  --g_dhcp_snooping.verify_bucket_count[mac_bucket(entry->mac)];
  --g_dhcp_snooping.verify_count;
  delete entry;
  return 0;
}

void insert_MacVerifyStruct_list(MacVerifyStruct** head, MacVerifyStruct* entry) {
  entry->next = *head;
  *head = entry;
}
