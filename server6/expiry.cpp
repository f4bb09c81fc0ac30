/// The end of what nobody has taken up or renewed, and removal by hand.
#include <algorithm>

#include "base/os.h"
#include "server6/bindings.h"
#include "server6/conflicts.h"

using namespace dhcp::server6;
using dhcp::base::now32;

void dhcp6s_binding_expire_timeout() {
  const PoolsLock lock;
  const uint32_t now = now32();
  delete_bindings([now](const Dhcp6Binding& binding) { return ended(binding, now); });
  expire_conflicts(now);
}

int64_t dhcp6_server_binding_left(const Dhcp6Binding* binding) {
  if (binding->state == DHCP6S_BOUND && binding->valid == infinite_lifetime) return -1;
  const int64_t lasts = binding->state == DHCP6S_BOUND ? binding->valid : offer_hold_s;
  return std::max<int64_t>(0, lasts - static_cast<int32_t>(now32() - binding->time));
}

int dhcp6_server_clear_binding(const uint8_t* ip6) {
  const PoolsLock lock;
  delete_bindings([=](const Dhcp6Binding& entry) { return ip6 == nullptr || Ip6::from(entry.ip6) == Ip6::from(ip6); });
  return 0;
}

int dhcp6_server_clear_conflict(const uint8_t* ip6) {
  const PoolsLock lock;
  if (ip6 == nullptr) {
    delete_all_conflicts();
  } else {
    delete_conflict(Ip6::from(ip6));
  }
  return 0;
}
