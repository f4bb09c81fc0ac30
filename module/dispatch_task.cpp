/// The "dhcpr" task: it owns the event queue and hands every event to the dispatcher.
#include <pthread.h>
#include <unistd.h>

#include <cstdio>

#include "base/guard.h"
#include "base/task_loop.h"
#include "module/module.h"
#include "packet/nic.h"

namespace {

constexpr const char* queue_name = "/dhcp_event_queue";
constexpr int queue_entries = 256, queue_argument = 1;
constexpr const char* exit_text = "!!!!!!!!!!!!!!!dhcpr_task_entry exit...\r";

equeue_t* event_queue = nullptr;

/// Until the queue is closed. The thread can be cancelled while it waits, never while it handles an event.
void receive_events() {
  for (;;) {
    pthread_testcancel();
    DhcpEvent event{};
    const int result = equeue_recv(event_queue, &event, 1);
    if (result == -1) return;
    if (result == 0) continue;
    dhcp::base::CycleLines lines;
    dhcp::module::dispatch(event);
  }
}

}  // namespace

int dhcpr_task_init() { return 0; }

void routine_cleanup_dhcp(void* queue) {
  printf("%s equeue_close \n", __func__);
  equeue_close(static_cast<equeue_t*>(queue));
  dhcp::packet::close_own_nic();
}

int dhcpr_task_entry(ModuleTaskEntry* row) {
  row->pid = static_cast<int32_t>(getpid());
  event_queue = equeue_make_extend(queue_name, queue_entries, queue_argument, dhcp::module::event_port_change);
  if (event_queue == nullptr) {
    stask_notify_creater(row, -1);
    puts(exit_text);
    return -1;
  }
  pthread_cleanup_push(routine_cleanup_dhcp, event_queue);
  stask_notify_creater(row, 0);
  receive_events();
  puts(exit_text);
  pthread_cleanup_pop(1);
  return -1;
}
