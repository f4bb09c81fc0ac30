/// The task table.
#include <array>

#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/server.h"
#include "dhcp/snooping.h"
#include "module/module.h"

namespace dhcp::module {

namespace {

constexpr uint32_t not_running = 0xffffffff;

constexpr ModuleTaskEntry row(const char* name, int (*init)(), int (*entry)(ModuleTaskEntry*)) {
  return {.name = name,
          .tid = not_running,
          .init = init,
          .entry = entry,
          .w5 = 0x01000000,
          .w6 = {},
          .w7 = 1,
          .w8 = {},
          .pid = 0,
          .last = 0};
}

std::array<ModuleTaskEntry, 6> table{
    row("dhcpr", dhcpr_task_init, dhcpr_task_entry),    row("dhcpc", dhcpc_task_init, dhcpc_task_entry),
    row("snoop", snoop_task_init, snoop_task_entry),    row("dhcps", dhcps_task_init, dhcps_task_entry),
    row("dhcp6c", dhcp6c_task_init, dhcp6c_task_entry), row("dhcp_probe", dhcp_probe_task_init, dhcp_probe_task_entry),
};

}  // namespace

std::span<ModuleTaskEntry> tasks() { return table; }

}  // namespace dhcp::module
