#include "fuzz/server_world.h"

#include <algorithm>
#include <vector>

#include "base/list.h"
#include "fuzz/door.h"
#include "platform/sysmng.h"

namespace dhcp::fuzz {

namespace {

template <class List>
void check_list(const List& list) {
  HOLDS(ring_length(list.head) == list.count);
}

void check_global(const DhcpServerList& list) {
  check_list(list);
  HOLDS(list.busy == 0);
}

/// Every address that the pool may not hand out, but for those of the device itself.
std::vector<uint32_t> taken_addresses(const DhcpPool& pool) {
  std::vector<uint32_t> taken;
  for (const auto& binding : base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) taken.push_back(binding.ip);
  for (const auto& conflict : base::Records<DhcpConflictIp>(dhcps_cfg.conflicts.head)) taken.push_back(conflict.ip);
  for (const auto& host : base::Records<DhcpStaticHost>(pool.hosts.head)) taken.push_back(host.ip);
  std::sort(taken.begin(), taken.end());
  return taken;
}

uint32_t plain_selection(const DhcpPool& pool) {
  const auto taken = taken_addresses(pool);
  for (uint64_t ip = pool.start_ip; ip <= pool.end_ip; ++ip) {
    const auto address = static_cast<uint32_t>(ip);
    bool free = !std::binary_search(taken.begin(), taken.end(), address) && sysmng_get_vlan_by_ipaddr(address) == 0;
    for (const auto& range : base::Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
      free = free && (address < range.start_ip || address > range.end_ip);
    }
    if (free) return address;
  }
  return 0;
}

void fill_option(uint8_t code, uint8_t len, uint8_t type) {
  uint8_t value[DHCPS_OPTION_VALUE_SIZE] = {192, 0, 2, 1};
  dhcp_server_set_pool_option(1, code, len, value, type);
}

}  // namespace

void set_pool(const PoolPlan& plan) {
  dhcp_server_create_pool_entry(plan.id);
  dhcp_server_set_pool_network(plan.id, plan.network, plan.netmask, plan.start_ip, plan.end_ip);
  dhcp_server_set_pool_lease(plan.id, plan.lease);
}

void build_world() {
  init_DHCPS_cfg();
  for (const PoolPlan& plan : pool_plans) set_pool(plan);
  const uint32_t addresses[] = {0x0a0a0001, 0x0a0a0002};
  dhcp_server_set_router(1, addresses, 2);
  dhcp_server_set_dns_srv(1, addresses, 2);
  dhcp_server_set_domain_name(1, "example.net");
  dhcp_server_set_tftp_server(1, "files");
  dhcp_server_set_boot_file_name(1, "image");
  fill_option(43, 12, DHCPS_OPTION_HEX);
  fill_option(150, 4, DHCPS_OPTION_IP);
  const uint8_t host[6] = {0x02, 0, 0, 0, 0, 0x11};
  dhcp_server_set_static_host(1, host, 0x0a0a000c);
  dhcp_server_set_exclude_ip(0x0a0a000e, 0x0a0a0010);
  dhcp_add_conflict_ip(0x0a0a0012);
  dhcp_add_conflict_ip(0x0a140006);
}

void check_records() {
  for (const auto* list : {&dhcps_cfg.pools, &dhcps_cfg.bindings, &dhcps_cfg.conflicts, &dhcps_cfg.excludes}) {
    check_global(*list);
  }
  HOLDS(dhcps_cfg.port_users == 0);
  HOLDS(dhcps_cfg.bindings.count <= DHCPS_MAX_BINDINGS && dhcps_cfg.pools.count <= DHCPS_MAX_POOLS);
  int32_t bound = 0;
  for (const auto& pool : base::Records<DhcpPool>(dhcps_cfg.pools.head)) {
    for (const auto* list : {&pool.options, &pool.hosts, &pool.routers, &pool.dns_servers}) check_list(*list);
    HOLDS(pool.hosts.count <= DHCPS_MAX_HOSTS);
    bound += pool.binding_count;
  }
  HOLDS(bound == dhcps_cfg.bindings.count);
  std::vector<uint32_t> addresses;
  for (const auto& binding : base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    const DhcpPool* pool = dhcp_get_pool_by_id(binding.pool_id);
    HOLDS(pool != nullptr && pool->start_ip <= binding.ip && binding.ip <= pool->end_ip);
    addresses.push_back(binding.ip);
    HOLDS(binding.id_len <= DHCPS_CLIENT_ID_SIZE);
    HOLDS(binding.state == DHCPS_OFFERED || binding.state == DHCPS_ACKNOWLEDGED);
  }
  std::sort(addresses.begin(), addresses.end());
  HOLDS(std::adjacent_find(addresses.begin(), addresses.end()) == addresses.end());
}

void check_selection() {
  for (auto& pool : base::Records<DhcpPool>(dhcps_cfg.pools.head)) {
    HOLDS(dhcp_select_ip_addr(&pool, nullptr, 0) == plain_selection(pool));
  }
}

}  // namespace dhcp::fuzz
