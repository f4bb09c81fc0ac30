/// When bindings are aged.
#include "binding/clocks.h"
#include "snooping6/bindings.h"

namespace dhcp::snooping6 {

namespace {

binding::AgeingClock ageing_clock;

}  // namespace

void restart_ageing() { ageing_clock.reset(); }

}  // namespace dhcp::snooping6

using namespace dhcp::snooping6;

void clear_mac_bind6_list(int bucket) {
  const Lock lock;
  if (bucket >= 0 && bucket < DHCP_SNOOP_BUCKETS) bindings.age_bucket(static_cast<unsigned>(bucket));
}

void check_mac_bind6_valid() {
  const Lock lock;
  bindings.age();
}

void timer_dhcp6_snoop() {
  const Lock lock;
  if (ageing_clock.due(g_dhcp6_snooping.bind_count, g_dhcp6_snooping.min_lease)) bindings.age();
}
