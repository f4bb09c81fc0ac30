/// The task table. The rows of services that this build does not carry yet keep their places: their tasks report their
/// start and tick, and have nothing to do.
#include <array>

#include "base/os.h"
#include "base/task_loop.h"
#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/server.h"
#include "dhcp/snooping.h"
#include "module/module.h"

namespace dhcp::module {

namespace {

constexpr uint32_t not_running = 0xffffffff;

int nothing_to_set_up() { return 0; }

/// The life of a row without a service; one instance a row, each with its period.
template <int row_index, uint32_t period_s>
int tick(ModuleTaskEntry* row) {
  static base::TaskLoop loop;
  return loop.run(row, [] {
    base::os.sleep_us(period_s * 1000000);
    base::CycleLines lines;
  });
}

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
    row("dhcp6c", dhcp6c_task_init, dhcp6c_task_entry), row("dhcp_probe", nothing_to_set_up, tick<5, 5>),
};

}  // namespace

std::span<ModuleTaskEntry> tasks() { return table; }

}  // namespace dhcp::module
