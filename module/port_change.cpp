/// Port changes, told to every service that keeps a port list.
#include "base/guard.h"
#include "base/log.h"
#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "module/module.h"
#include "platform/security.h"

namespace {

constexpr int ports_a_list = 8;

/// Calls `tell` for each word of a list up to the first zero; how many there were.
template <class Tell>
int each_port(const uint32_t* list, Tell tell) {
  int count = 0;
  while (count < ports_a_list && list[count] != 0) tell(list[count++]);
  return count;
}

}  // namespace

int notice_port_change_to_dhcp(const uint32_t ports[24]) {
  const dhcp::base::CancelHold hold;
  DHCP_LOG(dhcp::base::module_frame, "dhcpc", "DHCP Snooping mutex trylock() ==========");
  const bool owned = dhcp_snooping_mutex_lock_func() == 0;
  const int added = each_port(ports, [](uint32_t port) {
    dhcp_snooping_add_port(port);
    dhcp_relay_add_port(port);
    ipsg_add_port(port);
  });
  // Snooping keeps removed ports and their clients: a port that comes back finds them again.
  const int removed = each_port(ports + ports_a_list, [](uint32_t port) {
    dhcp_relay_del_port(port);
    ipsg_del_port(port);
  });
  if (added + removed > 0) {
    dhcp_port_change_action();
    ipsg_port_change_action();
  }
  DHCP_LOG(dhcp::base::module_frame, "dhcpc", "DHCP Snooping mutex unlock()  **********");
  return owned ? dhcp_snooping_mutex_unlock_func() : -1;
}
