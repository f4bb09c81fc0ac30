/// The server's record, its lock and its start. The record is usable from the moment the library is loaded.
#include <pthread.h>

#include <algorithm>
#include <cstddef>

#include "server6/bindings.h"
#include "server6/conflicts.h"
#include "server6/own.h"
#include "server6/server6.h"

static_assert(offsetof(Dhcp6ServerConfig, duid) == 1 && sizeof(Dhcp6StaticHost) == 22);
static_assert(sizeof(void*) != 4 || (sizeof(Dhcp6ServerConfig) == 64 && sizeof(Dhcp6Binding) == 184));

namespace {

constexpr DhcpServerList empty_list(DhcpListHead& head) { return {0, {&head, &head}, 0}; }

}  // namespace

constinit Dhcp6ServerConfig dhcp6s_cfg = {
    .enabled = 0,
    .duid = {},
    .pools = empty_list(dhcp6s_cfg.pools.head),
    .bindings = empty_list(dhcp6s_cfg.bindings.head),
    .conflicts = empty_list(dhcp6s_cfg.conflicts.head),
};

namespace dhcp::server6 {

namespace {

/// Never destroyed: a thread of the host's may outlive the module.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;

}  // namespace

PoolsLock::PoolsLock() : mutex_(mutex), busy_(dhcp6s_cfg.pools.busy) {}

}  // namespace dhcp::server6

void init_DHCP6S_cfg() {
  using namespace dhcp;
  dhcp6_server_start_stop(0);
  const server6::PoolsLock lock;
  server6::delete_all_bindings();
  server6::delete_all_conflicts();
  base::free_records<Dhcp6Pool>(dhcp6s_cfg.pools);
  server6::addresses_changed();
  server6::forget_own_mac();
  std::fill_n(dhcp6s_cfg.duid, sizeof dhcp6s_cfg.duid, uint8_t{0});
  dhcp6_server_clear_counters();
}
