/// The "dhcpc" task: a one-second ticker that lets the device notice that a dynamic address has changed.
#include "base/os.h"
#include "base/task_loop.h"
#include "platform/sysmng.h"
#include "relay/relay.h"

namespace {

constexpr uint32_t second_us = 1000000;

dhcp::base::TaskLoop ticker_loop;

}  // namespace

int dhcpc_task_init() {
  DHCP_LOG_AT(dhcp::base::module_frame, "dhcpc", "DHCPC TASK INIT!\n");
  return 0;
}

int dhcpc_task_entry(ModuleTaskEntry* row) {
  return ticker_loop.run(row, [] {
    dhcp::base::os.sleep_us(second_us);
    dhcp::base::CycleLines lines;
    probe_dynamic_get_ip_dev_change();
  });
}
