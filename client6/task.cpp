/// The "dhcp6c" task: once a second every interface's machine does its step.
#include "base/os.h"
#include "base/task_loop.h"
#include "client6/client6.h"

namespace dhcp::client6 {

namespace {

constexpr uint32_t period_us = 1000000;

base::TaskLoop task;

/// The task can be cancelled while it waits, never in the midst of a pass.
void cycle() {
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_begin_text);
  base::os.sleep_us(period_us);
  pass();
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_end_text);
}

}  // namespace

void pass() {
  if (dhcpc6_golbal_config.node_count < 1) return;
  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  for (Dhcp6cInterfaceNode& node : nodes()) {
    if (node.mode == DHCP6C_MODE_STATIC) continue;
    if (!step(node)) return;  // the interfaces behind it have their turn a second later
  }
}

}  // namespace dhcp::client6

/// Without its list of ports the client would have nowhere to ask.
int dhcp6c_task_init() {
  dhcp6c_init();
  return dhcpc6_golbal_config.ports != nullptr ? 0 : -1;
}

int dhcp6c_task_entry(ModuleTaskEntry* row) { return dhcp::client6::task.run(row, dhcp::client6::cycle); }
