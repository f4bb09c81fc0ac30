/// The "dhcp_probe" task: every five seconds a round of learning the MACs of both relays' helpers.
#include "base/os.h"
#include "base/task_loop.h"
#include "dhcp/relay6.h"
#include "relay/relay.h"

namespace {

namespace base = dhcp::base;

constexpr uint32_t round_us = 5000000;

base::TaskLoop probe_loop;

/// The task can be cancelled also while it waits for an answer from the network: a stop does not wait for a round.
void cycle() {
  base::os.sleep_us(round_us);
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_begin_text);
  dhcpr_dhcp_server_mac_probe();
  dhcp6_relay_dhcp_server_mac_probe();
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_end_text);
}

}  // namespace

int dhcp_probe_task_init() { return 0; }

int dhcp_probe_task_entry(ModuleTaskEntry* row) { return probe_loop.run(row, cycle); }
