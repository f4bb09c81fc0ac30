/// The server's task: drains the socket and ages bindings and conflicts, about once a second. It ages those of the
/// DHCPv6 server, too, which has no task of its own.
#include "base/os.h"
#include "base/services.h"
#include "base/task_loop.h"
#include "dhcp/server6.h"
#include "server/server.h"
#include "server/socket.h"

namespace dhcp::server {

namespace {

constexpr uint32_t cycle_us = 1000000;

base::TaskLoop task;

void age() {
  const ServerLock lock;
  dhcps_binding_expire_timeout();
  dhcps_conflict_expire_timeout();
}

/// The task can be cancelled while it waits, never while it ages.
void cycle() {
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_begin_text);
  drain_socket();
  base::os.sleep_us(cycle_us);
  // With the IPv4 server on, or the DHCPv6 server: with neither of them, what is bound stays as it is.
  if (dhcps_cfg.sock > 0 || base::server6_on()) dhcp6s_binding_expire_timeout();
  age();
  DHCP_LOG(base::module_task, "Task entry", "%s", base::task_end_text);
}

}  // namespace

}  // namespace dhcp::server

int dhcps_task_init() { return 0; }

int dhcps_task_entry(ModuleTaskEntry* row) { return dhcp::server::task.run(row, dhcp::server::cycle); }
