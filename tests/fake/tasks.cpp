/// The task service: the soft switch's, with every call written down and starts that a test lets fail.
#include "platform/task.h"
#include "tests/fake/device.h"

namespace {

void note(const std::string& what, const ModuleTaskEntry& row) {
  fake::device().record(&fake::Device::task_events_, what + row.name);
}

}  // namespace

extern "C" {

int __real_stask_start(ModuleTaskEntry* row, int flag);
int __wrap_stask_start(ModuleTaskEntry* row, int flag);
int __real_stask_stop(ModuleTaskEntry* row);
int __wrap_stask_stop(ModuleTaskEntry* row);
int __real_stask_notify_creater(ModuleTaskEntry* row, int result);
int __wrap_stask_notify_creater(ModuleTaskEntry* row, int result);

int __wrap_stask_start(ModuleTaskEntry* row, int flag) {
  note("start ", *row);
  return fake::device().tasks_that_fail.count(row->name) != 0 ? -1 : __real_stask_start(row, flag);
}

int __wrap_stask_stop(ModuleTaskEntry* row) {
  note("stop ", *row);
  return __real_stask_stop(row);
}

int __wrap_stask_notify_creater(ModuleTaskEntry* row, int result) {
  fake::device().record(&fake::Device::task_events_, "notice " + std::string(row->name) + " " + std::to_string(result));
  return __real_stask_notify_creater(row, result);
}

}  // extern "C"
