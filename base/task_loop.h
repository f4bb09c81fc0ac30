/// The life that all periodic tasks share: one instance, process id, notice to the creator, run flag.
///
/// The flag is cleared when the task leaves, also when it is cancelled, so that a stopped task starts again.
#pragma once

#include <pthread.h>
#include <unistd.h>

#include <atomic>

#include "base/guard.h"
#include "base/log.h"
#include "platform/task.h"

namespace dhcp::base {

class TaskLoop {
 public:
  /// Runs `cycle` again and again on the calling thread until the task is cancelled or stop() is called. A second
  /// instance returns at once without a word to its creator. Always 0.
  template <class Cycle>
  int run(ModuleTaskEntry* row, Cycle cycle) {
    bool idle = false;
    if (!running_.compare_exchange_strong(idle, true)) return 0;
    Leave leave{running_};
    row->pid = static_cast<int32_t>(getpid());
    stask_notify_creater(row, 0);
    while (running_.load()) {
      pthread_testcancel();
      cycle();
    }
    return 0;
  }

  /// Ends the loop after the cycle in hand.
  void stop() { running_.store(false); }
  bool running() const { return running_.load(); }

 private:
  /// Cancellation unwinds the stack, so this runs on every way out.
  struct Leave {
    std::atomic<bool>& running;
    ~Leave() { running.store(false); }
  };
  std::atomic<bool> running_{false};
};

/// Brackets one cycle's work with the begin and end lines of the tasks.
class CycleLines {
 public:
  CycleLines() { DHCP_LOG(module_task, "Task entry", "%s", task_begin_text); }
  ~CycleLines() { DHCP_LOG(module_task, "Task entry", "%s", task_end_text); }
  CycleLines(const CycleLines&) = delete;
  CycleLines& operator=(const CycleLines&) = delete;

 private:
  CancelHold hold_;
};

}  // namespace dhcp::base
