/// Guards, lists, trace and the life of tasks.
#include <pthread.h>
#include <signal.h>

#include <thread>

#include "base/guard.h"
#include "base/log.h"
#include "base/os.h"
#include "base/task_loop.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

using namespace dhcp::base;

class Base : public DeviceBench {};

/// Runs `body` on `count` threads at once.
template <class Body>
void on_threads(int count, Body body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(body);
  for (auto& thread : threads) thread.join();
}

TEST_F(Base, BusyWordKeepsASecondChangerOut) {
  std::atomic<uint32_t> word{0};
  int sum = 0;  // plain on purpose: only the word protects it
  on_threads(4, [&] {
    for (int i = 0; i < 300; ++i) {
      BusyGuard guard(word);
      const int seen = sum;
      sched_yield();
      sum = seen + 1;
    }
  });
  EXPECT_EQ(sum, 1200);
  EXPECT_EQ(word.load(), 0u);
}

TEST_F(Base, NoReaderIsLostFromTheCount) {
  std::atomic<uint32_t> word{0};
  on_threads(4, [&] {
    for (int i = 0; i < 2000; ++i) ReadGuard guard(word);
  });
  EXPECT_EQ(word.load(), 0u);
}

TEST_F(Base, ChangerWaitsForEveryReader) {
  std::atomic<uint32_t> word{0};
  std::atomic<bool> changed{false};
  std::thread changer;
  {
    ReadGuard one(word), other(word);
    EXPECT_EQ(word.load(), 2u);
    changer = std::thread([&] {
      WriteGuard guard(word);
      changed = true;
    });
    while (device().slept_ms() == 0) sched_yield();
    EXPECT_FALSE(changed);
  }
  changer.join();
  EXPECT_EQ(device().slept_ms() % 500, 0) << "waits are half seconds";
  EXPECT_EQ(word.load(), 0u);
}

TEST_F(Base, CancelDoesNotLeaveAWordTaken) {
  struct State {
    std::atomic<uint32_t> word{0};
    std::atomic<bool> held{false}, cancelled{false};
  } state;
  pthread_t thread;
  const auto body = [](void* argument) -> void* {
    auto& s = *static_cast<State*>(argument);
    {
      BusyGuard guard(s.word);
      s.held = true;
      while (!s.cancelled) os.sleep_us(1);  // a cancellation point, were it not for the guard
    }
    for (;;) pthread_testcancel();
  };
  ASSERT_EQ(pthread_create(&thread, nullptr, body, &state), 0);
  while (!state.held) sched_yield();
  pthread_cancel(thread);
  state.cancelled = true;
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_EQ(state.word.load(), 0u);
}

TEST_F(Base, SemaphoreStaysTakenThroughASignal) {
  struct sigaction action {};
  action.sa_handler = [](int) {};  // no SA_RESTART
  sigaction(SIGUSR1, &action, nullptr);
  sem_t semaphore;
  sem_init(&semaphore, 0, 0);
  std::atomic<bool> done{false};
  std::thread waiter([&] {
    take_semaphore(semaphore, "waiter", 1);
    done = true;
  });
  for (int i = 0; i < 20; ++i) {
    pthread_kill(waiter.native_handle(), SIGUSR1);
    os.sleep_us(1);
  }
  EXPECT_FALSE(done) << "a signal let the waiter through";
  sem_post(&semaphore);
  waiter.join();
  EXPECT_TRUE(device().log().empty());
  sem_destroy(&semaphore);
}

TEST_F(Base, SemaphoreThatWasNotTakenIsNotGivenBack) {
  static int given;
  given = 0;
  const auto give = [] { return ++given, 0; };
  {
    SemaphoreGuard guard([] { return -1; }, give, "locking", "unlocking");
  }
  EXPECT_EQ(given, 0);
  {
    SemaphoreGuard guard([] { return 0; }, give, "locking", "unlocking");
  }
  EXPECT_EQ(given, 1);
  EXPECT_EQ(device().logged("locking", "dhcpc"), 2);
  EXPECT_EQ(device().logged("unlocking", "dhcpc"), 2);
}

TEST_F(Base, UnlinkingWhileWalkingKeepsTheRest) {
  struct Node {
    DhcpListHead link;
    int number;
  } nodes[5] = {};
  DhcpListHead head{};
  EXPECT_TRUE(list_empty(head)) << "zeroed storage";
  list_init(head);
  for (Node& node : nodes) {
    node.number = static_cast<int>(&node - nodes);
    list_add_head(head, node.link);
  }
  for (Node& node : Records<Node>(head)) {
    if (node.number % 2 == 0) list_unlink(node.link);
  }
  std::vector<int> left;
  for (const Node& node : Records<Node>(head)) left.push_back(node.number);
  EXPECT_EQ(left, (std::vector{3, 1})) << "newest first";
  EXPECT_EQ(reinterpret_cast<uintptr_t>(nodes[0].link.next), 0x00100100u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(nodes[0].link.prev), 0x00200200u);
  EXPECT_FALSE(list_linked(nodes[0].link));
  EXPECT_TRUE(list_linked(nodes[1].link));
}

TEST_F(Base, TraceComesWithTheLogAndIsCut) {
  const std::string text(2000, 'x');
  DHCP_LOG(13, "dhcpc", "%s", text.c_str());
  EXPECT_TRUE(device().traces().empty());
  device().tracing = true;
  DHCP_LOG_FROM("here", 17, 6, 20, "dhcp_relay", "%s", text.c_str());
  ASSERT_EQ(device().traces().size(), 1u);
  EXPECT_EQ(device().traces()[0].first, "here():17");
  EXPECT_EQ(device().traces()[0].second.size(), 1023u);
  EXPECT_EQ(device().log()[1].level, 6);
  EXPECT_EQ(device().log()[1].text, text);
}

std::atomic<int> cycles{0};

int loop_entry(ModuleTaskEntry* row) {
  static TaskLoop loop;
  return loop.run(row, [] {
    ++cycles;
    os.sleep_us(1000000);
    CycleLines lines;
  });
}

TEST_F(Base, TaskThatWasStoppedStartsAgain) {
  ModuleTaskEntry row{};
  row.name = "loop";
  row.tid = 0xffffffff;
  row.init = [] { return 0; };
  row.entry = loop_entry;
  for (int round = 0; round < 3; ++round) {
    cycles = 0;
    ASSERT_EQ(stask_start(&row, 0), 0);
    while (cycles < 2) sched_yield();
    EXPECT_EQ(row.pid, getpid());
    ModuleTaskEntry second = row;
    EXPECT_EQ(loop_entry(&second), 0) << "a second instance returns at once";
    ASSERT_EQ(stask_stop(&row), 0);
  }
  EXPECT_EQ(device().task_events(),
            (std::vector<std::string>{"start loop", "notice loop 0", "stop loop", "start loop", "notice loop 0",
                                      "stop loop", "start loop", "notice loop 0", "stop loop"}));
  EXPECT_EQ(device().logged("Task entry begin process!~\n"), device().logged("Task entry end   process!~\n"));
}

}  // namespace
}  // namespace bench
