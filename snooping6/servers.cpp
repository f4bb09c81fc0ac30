/// The servers whose answers are believed: as many as are named, the newest first.
#include <new>

#include "snooping6/snooping6.h"

namespace dhcp::snooping6 {

namespace {

/// The link that points at the server, or the null link at the end of the list.
Dhcp6ServerInfo** link_to(const base::Ip6& ip) {
  Dhcp6ServerInfo** link = &g_dhcp6_snooping.server_list;
  while (*link != nullptr && base::Ip6::from((*link)->ip6) != ip) link = &(*link)->next;
  return link;
}

void remove_at(Dhcp6ServerInfo** link) {
  const Dhcp6ServerInfo* entry = *link;
  *link = entry->next;
  --g_dhcp6_snooping.server_count;
  delete entry;
}

}  // namespace

bool server_refused(const base::Ip6& ip) { return g_dhcp6_snooping.server_count >= 1 && *link_to(ip) == nullptr; }

void free_servers() {
  while (g_dhcp6_snooping.server_list != nullptr) remove_at(&g_dhcp6_snooping.server_list);
}

}  // namespace dhcp::snooping6

using namespace dhcp;
using namespace dhcp::snooping6;

Dhcp6ServerInfo* find_Dhcp6ServerInfo(const uint8_t* ip6, int create) {
  const Lock lock;
  const auto ip = base::Ip6::from(ip6);
  Dhcp6ServerInfo* found = *link_to(ip);
  if (found != nullptr || create != 1) return found;
  auto* entry = new (std::nothrow) Dhcp6ServerInfo{};
  if (entry == nullptr) return nullptr;
  ip.copy_to(entry->ip6);
  entry->next = g_dhcp6_snooping.server_list;
  g_dhcp6_snooping.server_list = entry;
  ++g_dhcp6_snooping.server_count;
  return entry;
}

int delete_Dhcp6ServerInfo(const uint8_t* ip6) {
  const Lock lock;
  Dhcp6ServerInfo** link = link_to(base::Ip6::from(ip6));
  if (*link == nullptr) return -1;
  remove_at(link);
  return 0;
}

int check_dhcp6_serverip_valid(const uint8_t* ip6) {
  const Lock lock;
  return server_refused(base::Ip6::from(ip6)) ? 0 : 1;
}
