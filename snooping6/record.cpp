/// The service's record, its beginning and its end.
#include "snooping6/record.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include "base/log.h"
#include "base/services.h"
#include "snooping6/bindings.h"
#include "snooping6/database.h"

Dhcp6SnoopConfig g_dhcp6_snooping;

namespace dhcp::snooping6 {

namespace {

std::atomic<bool> ready{false};

/// Switches the service off and frees all that hangs from the record.
void tear_down() {
  set_switch(false);
  free_servers();
  bindings.free_all();
  interfaces.free_all();
}

/// Every setting as it is before the host has said anything.
void set_defaults() {
  Dhcp6SnoopConfig& record = g_dhcp6_snooping;
  std::fill(std::begin(record.vlan_bitmap), std::end(record.vlan_bitmap), uint8_t{0});
  record.min_lease = 0;
  record.writeflash_enable = record.writeflash_interval = 0;
  restart_ageing();
  restart_database();
  frame_counts.view().clear();
}

/// Host calls may come before the service's own beginning.
[[maybe_unused]] const bool reset_at_load = (bindings.reset(), true);

}  // namespace

bool initialised() { return ready.load(); }

}  // namespace dhcp::snooping6

namespace dhcp::base {

bool snooping6_on() { return g_dhcp6_snooping.enable.load() != 0; }

}  // namespace dhcp::base

using namespace dhcp::snooping6;

int init_dhcp6_snooping() {
  const Lock lock;
  ready.store(false);
  tear_down();
  set_defaults();
  if (!interfaces.make(dhcp::base::make_physical_port_list<Interface>)) return -1;
  ready.store(true);
  DHCP_LOG_AT(dhcp::base::module_frame, log_name, "init,dhcpv6 snooping init over");
  return 0;
}

int exit_dhcp6_snooping() {
  const Lock lock;
  ready.store(false);
  tear_down();
  return 0;
}
