/// The "snoop" task: it brings the saved bindings of both families back, then every two seconds ages the tables and
/// saves them.
#include "base/os.h"
#include "base/task_loop.h"
#include "dhcp/snooping6.h"
#include "snooping/record.h"
#include "snooping/snooping.h"
#include "snooping6/record.h"

namespace dhcp::snooping {

namespace {

constexpr uint32_t period_us = 2000000, wait_for_begin_us = 1000000;

base::TaskLoop task;

/// Which families' saved bindings are back. A file for which memory is short is read again in the next round, before
/// anything is written over it.
struct Restored {
  bool ip4 = false, ip6 = false;
};

void restore(Restored& done) {
  if (done.ip4 && done.ip6) return;
  const SnoopingLock lock;
  if (!done.ip4) done.ip4 = read_dhcp_snoop_from_flash() == 0;
  if (!done.ip6) done.ip6 = read_dhcp6_snoop_from_flash() == 0;
}

/// The whole round is under the lock, so nothing is aged or written while a frame is looked at.
void round() {
  const SnoopingLock lock;
  const base::CycleLines lines;
  timer_dhcp_snoop();
  cycle_write_bind_flash();
  timer_dhcp6_snoop();
  cycle_write_dhcp6_bind_flash();
}

}  // namespace

}  // namespace dhcp::snooping

int snoop_task_init() {
  if (!dhcp::snooping::initialised() && init_dhcp_snooping() != 0) return -1;
  if (!dhcp::snooping6::initialised() && init_dhcp6_snooping() != 0) return -1;
  return 0;
}

int snoop_task_entry(ModuleTaskEntry* row) {
  using namespace dhcp::snooping;
  Restored done;
  return task.run(row, [&done] {
    if (!initialised()) return dhcp::base::os.sleep_us(wait_for_begin_us);
    restore(done);
    dhcp::base::os.sleep_us(period_us);
    round();
  });
}
