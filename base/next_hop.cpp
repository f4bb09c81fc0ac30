#include "base/next_hop.h"

#include <pthread.h>

#include <algorithm>

#include "base/guard.h"

namespace dhcp::base {

namespace {

/// The device's list is too large for a stack, and a helper that is known must not be lost because memory is short: so
/// there is one list for all.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
sysmng_vlan_list list;

}  // namespace

SearchedVlans searched_vlans() {
  constexpr int layer3_vlans = 2;
  const MutexGuard guard(mutex);
  SearchedVlans vlans;
  if (sysmng_vlan_get(layer3_vlans, &list) < 0) return vlans;
  vlans.count = std::min(list.count, static_cast<uint32_t>(vlans.vid.size()));
  std::copy_n(list.vid, vlans.count, vlans.vid.begin());
  return vlans;
}

}  // namespace dhcp::base
