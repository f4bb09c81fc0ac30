/// The task service: real threads, started once they have reported, ended by deferred cancel and join.
#include "platform/task.h"

#include <pthread.h>

#include <condition_variable>
#include <map>
#include <memory>

#include "tests/fake/device.h"

namespace {

struct Task {
  ModuleTaskEntry* row;
  pthread_t thread;
  std::mutex mutex;
  std::condition_variable changed;
  bool reported = false;
  int result = 0;

  /// What counts is the first report; the end of an entry that never reported is one too.
  void report(int value) {
    const std::lock_guard lock(mutex);
    if (!reported) result = value;
    reported = true;
    changed.notify_all();
  }
};

constexpr uint32_t not_running = 0xffffffff;
std::mutex tasks_mutex;
std::map<const ModuleTaskEntry*, std::unique_ptr<Task>> tasks;
uint32_t last_tid = 100;

void* run(void* argument) {
  auto* task = static_cast<Task*>(argument);
  const int result = task->row->entry(task->row);
  task->report(result);
  return nullptr;
}

void note(const char* what, const ModuleTaskEntry& row) {
  fake::device().record(&fake::Device::task_events_, what + std::string(row.name));
}

}  // namespace

int stask_start(ModuleTaskEntry* row, int) {
  note("start ", *row);
  if (fake::device().tasks_that_fail.count(row->name) != 0) return -1;
  if (row->init() < 0) return -1;
  auto owned = std::make_unique<Task>();
  Task& task = *owned;
  task.row = row;
  {
    const std::lock_guard lock(tasks_mutex);
    row->tid = ++last_tid;
    tasks[row] = std::move(owned);
  }
  pthread_create(&task.thread, nullptr, run, &task);
  std::unique_lock lock(task.mutex);
  task.changed.wait(lock, [&] { return task.reported; });
  if (task.result >= 0) return 0;
  lock.unlock();
  pthread_join(task.thread, nullptr);
  const std::lock_guard all(tasks_mutex);
  row->tid = not_running;
  tasks.erase(row);
  return -1;
}

int stask_stop(ModuleTaskEntry* row) {
  note("stop ", *row);
  std::unique_ptr<Task> task;
  {
    const std::lock_guard lock(tasks_mutex);
    task = std::move(tasks[row]);
    tasks.erase(row);
  }
  if (task == nullptr) return -1;
  pthread_cancel(task->thread);
  pthread_join(task->thread, nullptr);
  row->tid = not_running;
  return 0;
}

int stask_notify_creater(ModuleTaskEntry* row, int result) {
  Task* task = nullptr;
  {
    const std::lock_guard lock(tasks_mutex);
    const auto found = tasks.find(row);
    if (found != tasks.end()) task = found->second.get();
  }
  if (task != nullptr) task->report(result);
  fake::device().record(&fake::Device::task_events_, "notice " + std::string(row->name) + " " + std::to_string(result));
  return 0;
}
