/// The server's record and its start. The record is usable from the moment the library is loaded.
#include <cstddef>

#include "base/port_list.h"
#include "server/lock.h"
#include "server/pool_call.h"
#include "server/server.h"

static_assert(sizeof(dhcp_word) == 4 && sizeof(dhcp_int) == 4 && sizeof(dhcp_flag) == 1);
static_assert(offsetof(DhcpPoolOption, type) == offsetof(DhcpPoolOption, value) + DHCPS_OPTION_VALUE_SIZE + 1);
static_assert(sizeof(void*) != 4 || (sizeof(DhcpServerConfig) == 84 && sizeof(DhcpPool) == 100));
static_assert(sizeof(void*) != 4 || (sizeof(DhcpPoolOption) == 324 && sizeof(DhcpBinding) == 64));
static_assert(sizeof(void*) != 4 || (sizeof(DhcpStaticHost) == 20 && sizeof(DhcpIpNode) == 12));

namespace {

constexpr DhcpServerList empty_list(DhcpListHead& head) { return {0, {&head, &head}, 0}; }

}  // namespace

constinit DhcpServerConfig dhcps_cfg = {
    .enable = 0,
    .sock = -1,
    .pools = empty_list(dhcps_cfg.pools.head),
    .bindings = empty_list(dhcps_cfg.bindings.head),
    .conflicts = empty_list(dhcps_cfg.conflicts.head),
    .excludes = empty_list(dhcps_cfg.excludes.head),
    .port_count = 0,
    .port_users = 0,
    .ports = nullptr,
};

namespace dhcp::server {

namespace {

void make_empty(DhcpServerList& list) {
  base::list_init(list.head);
  list.count = 0;
  list.busy = 0;
}

/// Frees what an earlier run left, the server switched off.
void release_record() {
  dhcp_server_start_stop(0);
  dhcp_server_close_socket();
  reset_bindings();  // and the conflicts
  for (DhcpPool& pool : pools()) free_pool(pool);
  free_records<DhcpExcludeRange>(dhcps_cfg.excludes);
  if (dhcps_cfg.ports != nullptr) intf_order_list_free_node(dhcps_cfg.ports);
  dhcps_cfg.ports = nullptr;
  addresses_changed();
}

}  // namespace

}  // namespace dhcp::server

void init_DHCPS_cfg() {
  using namespace dhcp;
  server::release_record();
  server::create_lock();
  for (auto* list : {&dhcps_cfg.pools, &dhcps_cfg.bindings, &dhcps_cfg.conflicts, &dhcps_cfg.excludes}) {
    server::make_empty(*list);
  }
  dhcps_cfg.enable = 0;
  dhcps_cfg.sock = -1;
  dhcps_cfg.port_users = 0;
  dhcps_cfg.ports = base::make_port_list(dhcps_cfg.port_count);
}
