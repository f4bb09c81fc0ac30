#include "snooping/ageing.h"

#include "binding/clocks.h"
#include "snooping/bindings.h"

namespace dhcp::snooping {

namespace {

binding::AgeingClock ageing_clock;

}  // namespace

void restart_ageing() { ageing_clock.reset(); }

}  // namespace dhcp::snooping

using namespace dhcp;

void clear_mac_bind_list(int bucket) {
  if (bucket >= 0 && bucket < DHCP_SNOOP_BUCKETS) snooping::bindings.age_bucket(static_cast<unsigned>(bucket));
}

void check_mac_bind_valid() { snooping::bindings.age(); }

void timer_dhcp_snoop() {
  if (snooping::ageing_clock.due(g_dhcp_snooping.bind_count, g_dhcp_snooping.min_lease)) check_mac_bind_valid();
}

int get_timer_dhcp_snoop_action_type(int count) { return binding::count_class(count); }
