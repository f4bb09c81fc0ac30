/// What a pool lists: DNS servers, domain names, excluded addresses, static hosts. Each list keeps the order in which
/// its entries were given.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "server6/pool_lists.h"
#include "server6/server6.h"

namespace dhcp::server6 {

namespace {

/// The place of the first entry that `matches` accepts, or behind the last.
template <class Entry, size_t room, class Match>
int place_of(Entry (&entries)[room], int32_t count, Match matches) {
  return static_cast<int>(std::find_if(entries, entries + count, matches) - entries);
}

/// Takes the entry at `place` out; -1 when it is behind the last.
template <class Entry, size_t room>
int take_out(Entry (&entries)[room], int32_t& count, int place) {
  if (place >= count) return -1;
  memmove(&entries[place], &entries[place + 1], static_cast<size_t>(count - place - 1) * sizeof(Entry));
  --count;
  memset(&entries[count], 0, sizeof(Entry));
  return 0;
}

int place_of_exclude(const Dhcp6Pool& pool, const uint8_t* ip6) {
  return place_of(pool.exclude, pool.exclude_count,
                  [=](const uint8_t(&entry)[16]) { return memcmp(entry, ip6, 16) == 0; });
}

int place_of_host(const Dhcp6Pool& pool, const uint8_t* mac) {
  return place_of(pool.host, pool.host_count,
                  [=](const Dhcp6StaticHost& host) { return memcmp(host.mac, mac, 6) == 0; });
}

int place_of_name(const Dhcp6Pool& pool, const char* name) {
  return place_of(pool.domain, pool.domain_count,
                  [=](const char(&entry)[DHCP6S_DOMAIN_NAME_SIZE + 1]) { return strcmp(entry, name) == 0; });
}

}  // namespace

bool excluded(const Dhcp6Pool& pool, const Ip6& ip) {
  return place_of_exclude(pool, ip.bytes.data()) < pool.exclude_count;
}

const Dhcp6StaticHost* host_with(const Dhcp6Pool& pool, const Ip6& ip) {
  const auto* end = pool.host + pool.host_count;
  const auto* host = std::find_if(pool.host, end, [&](const auto& entry) { return Ip6::from(entry.ip6) == ip; });
  return host != end ? host : nullptr;
}

}  // namespace dhcp::server6

using namespace dhcp::server6;
using dhcp::base::Ip6;

int dhcp6_server_set_dns_srv(uint32_t pool_id, const uint8_t (*addresses)[16], int count) {
  const PoolCall pool(pool_id);
  if (!pool || count < 0) return -1;
  if (count > DHCP6S_MAX_DNS_SERVERS) return -2;
  memcpy(pool->dns, addresses, static_cast<size_t>(count) * sizeof *addresses);
  pool->dns_count = count;
  return 0;
}

int dhcp6_server_del_dns_srv(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  pool->dns_count = 0;
  return 0;
}

int dhcp6_server_set_domain_name(uint32_t pool_id, const char* name) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  if (place_of_name(*pool, name) < pool->domain_count) return 0;
  if (pool->domain_count >= DHCP6S_MAX_DOMAIN_NAMES) {
    fprintf(stderr, "Too many domain names(number > %d)\n", int{DHCP6S_MAX_DOMAIN_NAMES});
    return -2;
  }
  const size_t length = strnlen(name, DHCP6S_DOMAIN_NAME_SIZE + 1);
  if (length == 0 || length > DHCP6S_DOMAIN_NAME_SIZE) return -1;
  memcpy(pool->domain[pool->domain_count++], name, length + 1);
  return 0;
}

int dhcp6_server_del_domain_name(uint32_t pool_id, const char* name) {
  const PoolCall pool(pool_id);
  return pool ? take_out(pool->domain, pool->domain_count, place_of_name(*pool, name)) : -1;
}

int dhcp6_server_set_exclude_ip(uint32_t pool_id, const uint8_t ip6[16]) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  if (excluded(*pool, Ip6::from(ip6))) return 0;
  if (pool->exclude_count >= DHCP6S_MAX_EXCLUDES) return -2;
  memcpy(pool->exclude[pool->exclude_count++], ip6, sizeof pool->exclude[0]);
  addresses_changed();
  return 0;
}

int dhcp6_server_del_exclude_ip(uint32_t pool_id, const uint8_t ip6[16]) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  addresses_changed();
  return take_out(pool->exclude, pool->exclude_count, place_of_exclude(*pool, ip6));
}

Dhcp6StaticHost* dhcp6_get_static_host(Dhcp6Pool* pool, const uint8_t mac[6]) {
  const int place = place_of_host(*pool, mac);
  return place < pool->host_count ? &pool->host[place] : nullptr;
}

int dhcp6_server_set_static_host(uint32_t pool_id, const uint8_t mac[6], const uint8_t ip6[16]) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  // A full pool refuses before anything else, so that even a known host cannot be moved then.
  if (pool->host_count >= DHCP6S_MAX_HOSTS) return -2;
  const Ip6 ip = Ip6::from(ip6);
  if (!in_pool(*pool, ip)) return -1;
  const Dhcp6StaticHost* holder = host_with(*pool, ip);
  if (holder != nullptr && memcmp(holder->mac, mac, sizeof holder->mac) != 0) return -1;
  Dhcp6StaticHost* host = dhcp6_get_static_host(&*pool, mac);
  if (host == nullptr) host = &pool->host[pool->host_count++];
  memcpy(host->mac, mac, sizeof host->mac);
  ip.copy_to(host->ip6);
  addresses_changed();
  return 0;
}

int dhcp6_server_del_static_host(uint32_t pool_id, const uint8_t mac[6]) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  addresses_changed();
  return take_out(pool->host, pool->host_count, place_of_host(*pool, mac));
}
