#include "platform/task.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>

namespace {

constexpr uint32_t no_task = 0xFFFFFFFF;
std::atomic<int> entered{0};

int init_fails() { return -1; }

int waits_for_its_end(ModuleTaskEntry* row) {
  ++entered;
  stask_notify_creater(row, 0);
  for (;;) pause();
}
int cannot_start(ModuleTaskEntry* row) {
  ++entered;
  stask_notify_creater(row, -1);
  return -1;
}
int leaves_without_a_word(ModuleTaskEntry*) { return 0; }
int fails_without_a_word(ModuleTaskEntry*) { return -7; }
int notices_then_leaves(ModuleTaskEntry* row) { return stask_notify_creater(row, 0); }

ModuleTaskEntry row_of(int (*entry)(ModuleTaskEntry*), int (*init)() = nullptr) {
  ModuleTaskEntry row{};
  row.name = "a name too long for a thread";
  row.tid = no_task;
  row.init = init;
  row.entry = entry;
  return row;
}

TEST(Task, AFailedStartLeavesNoTaskBehind) {
  for (const auto& [entry, init] : {std::pair<int (*)(ModuleTaskEntry*), int (*)()>{cannot_start, nullptr},
                                    {fails_without_a_word, nullptr},
                                    {waits_for_its_end, init_fails}}) {
    ModuleTaskEntry row = row_of(entry, init);
    entered = 0;
    EXPECT_LT(stask_start(&row, 0), 0);
    EXPECT_EQ(row.tid, no_task);
    EXPECT_LT(stask_stop(&row), 0);
    if (init != nullptr) {
      EXPECT_EQ(entered, 0) << "the body ran although init failed";
    }
  }
}

TEST(Task, ATaskThatEndsByItselfDoesNotHangItsCreator) {
  ModuleTaskEntry silent = row_of(leaves_without_a_word);
  EXPECT_EQ(stask_start(&silent, 0), 0);
  EXPECT_EQ(silent.tid, no_task) << "it is gone";
  ModuleTaskEntry brief = row_of(notices_then_leaves);
  ASSERT_EQ(stask_start(&brief, 0), 0);
  EXPECT_NE(brief.tid, no_task);
  EXPECT_EQ(stask_stop(&brief), 0) << "joined all the same";
}

}  // namespace
