/// The device's task service: one thread a row, with a rendezvous at its start.
#include "platform/task.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

#include "softswitch/cancel_hold.h"
#include "softswitch/running_tasks.h"

namespace dhcp::softswitch {
namespace {

constexpr uint32_t no_task = 0xFFFFFFFF;

struct Task {
  ModuleTaskEntry* row = nullptr;
  pthread_t thread{};
  bool notified = false, returned = false;
  int result = 0;
};

/// Every task that was started and not yet joined.
struct Tasks {
  std::mutex lock;
  std::condition_variable changed;
  std::map<ModuleTaskEntry*, std::shared_ptr<Task>> by_row;
  uint32_t next_id = 1;
};

Tasks& tasks() {
  static Tasks the_tasks;
  return the_tasks;
}

/// Runs on every way out of a task, cancellation included, so that a creator never waits for a thread that is gone.
struct Leaving {
  Task& task;
  int result = -1;
  ~Leaving() {
    const HeldLock held(tasks().lock);
    task.returned = true;
    if (!task.notified) task.result = result;
    tasks().changed.notify_all();
  }
};

void* run(void* argument) {
  const std::unique_ptr<std::shared_ptr<Task>> task(static_cast<std::shared_ptr<Task>*>(argument));
  Leaving leaving{**task};
  pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, nullptr);
  leaving.result = (*task)->row->entry((*task)->row);
  return nullptr;
}

bool create(const std::shared_ptr<Task>& task) {
  auto argument = std::make_unique<std::shared_ptr<Task>>(task);
  if (pthread_create(&task->thread, nullptr, run, argument.get()) != 0) return false;
  (void)argument.release();
  char name[16] = {};
  for (size_t i = 0; i < sizeof name - 1 && task->row->name[i] != '\0'; ++i) name[i] = task->row->name[i];
  pthread_setname_np(task->thread, name);
  return true;
}

void forget(ModuleTaskEntry* row) {
  const HeldLock held(tasks().lock);
  tasks().by_row.erase(row);
  row->tid = no_task;
}

}  // namespace

std::vector<TaskRow> running_tasks() {
  std::vector<TaskRow> rows;
  const HeldLock held(tasks().lock);
  for (const auto& [row, task] : tasks().by_row) {
    if (row->tid != no_task) rows.push_back({row->name, row->tid, row->pid});
  }
  std::sort(rows.begin(), rows.end(), [](const TaskRow& a, const TaskRow& b) { return a.id < b.id; });
  return rows;
}

}  // namespace dhcp::softswitch

using namespace dhcp::softswitch;

int stask_start(ModuleTaskEntry* row, int /*flag*/) {
  const CancelHold hold;
  if (row->init != nullptr && row->init() < 0) return -1;
  auto task = std::make_shared<Task>();
  task->row = row;
  std::unique_lock lock(tasks().lock);
  if (!tasks().by_row.emplace(row, task).second) return -1;  // it runs already
  if (!create(task)) {
    tasks().by_row.erase(row);
    return -1;
  }
  tasks().changed.wait(lock, [&] { return task->notified || task->returned; });
  const int result = task->result;
  if (task->notified && result >= 0) {
    row->tid = tasks().next_id++;
    return 0;
  }
  lock.unlock();
  pthread_join(task->thread, nullptr);
  forget(row);
  return result;
}

int stask_stop(ModuleTaskEntry* row) {
  const CancelHold hold;
  std::shared_ptr<Task> task;
  {
    const HeldLock held(tasks().lock);
    const auto found = tasks().by_row.find(row);
    if (found == tasks().by_row.end()) return -1;
    task = found->second;
  }
  pthread_cancel(task->thread);
  pthread_join(task->thread, nullptr);
  forget(row);
  return 0;
}

int stask_notify_creater(ModuleTaskEntry* row, int result) {
  const HeldLock held(tasks().lock);
  const auto found = tasks().by_row.find(row);
  if (found == tasks().by_row.end()) return -1;
  found->second->notified = true;
  found->second->result = result;
  tasks().changed.notify_all();
  return 0;
}
