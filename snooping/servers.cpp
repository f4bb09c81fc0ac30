/// The servers whose answers are believed: at most ten, in the order in which they were named.
#include <new>

#include "snooping/snooping.h"

namespace {

constexpr int32_t max_servers = 10;

/// The link that points at the server, or the null link at the end of the list.
DhcpServerInfo** link_to(uint32_t ip) {
  DhcpServerInfo** link = &g_dhcp_snooping.server_list;
  while (*link != nullptr && (*link)->ip != ip) link = &(*link)->next;
  return link;
}

}  // namespace

DhcpServerInfo* find_DhcpServerInfo(uint32_t ip, int create) {
  if (DhcpServerInfo* found = *link_to(ip); found != nullptr) return found;
  if (create != 1 || g_dhcp_snooping.server_count >= max_servers) return nullptr;
  auto* entry = new (std::nothrow) DhcpServerInfo{};
  if (entry == nullptr) return nullptr;
  entry->ip = ip;
  insert_DhcpServerInfo_list(&g_dhcp_snooping.server_list, entry);
  ++g_dhcp_snooping.server_count;
  return entry;
}

void insert_DhcpServerInfo_list(DhcpServerInfo** head, DhcpServerInfo* entry) {
  while (*head != nullptr) head = &(*head)->next;
  entry->next = nullptr;
  *head = entry;
}

int delete_DhcpServerInfo(uint32_t ip) {
  DhcpServerInfo** link = link_to(ip);
  DhcpServerInfo* entry = *link;
  if (entry == nullptr) return -1;
  *link = entry->next;
  --g_dhcp_snooping.server_count;
  delete entry;
  return 0;
}

void delete_DhcpServerInfo_list() {
  while (g_dhcp_snooping.server_list != nullptr) delete_DhcpServerInfo(g_dhcp_snooping.server_list->ip);
}

int check_serverip_valid(uint32_t ip) {
  if (g_dhcp_snooping.server_count < 1) return 1;
  return find_DhcpServerInfo(ip, 0) != nullptr ? 1 : 0;
}
