#include "platform/queue.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/adp.h"
#include "softswitch/event_queue.h"
#include "softswitch/fabric.h"
#include "softswitch/frame_pool.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch::test {
namespace {

DhcpEvent numbered(int n) {
  DhcpEvent event{};
  event.p = n;
  event.type = event_ipv4;
  return event;
}

TEST(EventQueue, KeepsOrderRefusesWhenFullAndCountsWhatItsOwnerDropped) {
  EventQueue queue(256, event_port_change);
  DhcpEvent out{};
  int posted = 0, taken = 0;
  for (; posted < 100; ++posted) ASSERT_TRUE(queue.post(numbered(posted)));
  ASSERT_TRUE(queue.take(out));
  EXPECT_EQ(out.p, taken++);
  while (queue.post(numbered(posted))) ++posted;
  EXPECT_EQ(posted - taken, 256);
  EXPECT_TRUE(queue.full());
  queue.count_dropped();
  while (queue.take(out)) ASSERT_EQ(out.p, taken++);
  EXPECT_EQ(taken, posted);
  const QueueCounters counters = queue.counters();
  EXPECT_EQ(counters.posted, static_cast<uint64_t>(posted));
  EXPECT_TRUE(counters.dropped_full == 1 && counters.depth == 0 && counters.highest == 256);
}

TEST(EventQueue, OneProducerAndOneConsumerLoseNothing) {
  constexpr int total = 200000;
  EventQueue queue(64, event_port_change);
  std::thread producer([&] {
    for (int n = 0; n < total;)
      if (queue.post(numbered(n))) ++n;
  });
  DhcpEvent out{};
  for (int n = 0; n < total;) {
    if (!queue.take(out)) continue;
    ASSERT_EQ(out.p, n++);
  }
  producer.join();
}

/// How many buffers can be had; all are given back.
size_t available(FramePool& pool) {
  std::vector<skpack*> all;
  while (skpack* const skp = pool.take()) all.push_back(skp);
  EXPECT_TRUE(pool.exhausted());
  for (skpack* const skp : all) pool.release(skp);
  return all.size();
}

TEST(EventQueue, ReleasesWhatNobodyTook) {
  const size_t before = available(frame_pool());
  {
    EventQueue queue(8, event_port_change);
    DhcpEvent frame = numbered(1);
    frame.data = frame_pool().take();
    DhcpEvent notice{};
    notice.type = event_port_change;
    notice.data = std::malloc(96);  // the leak checker watches
    ASSERT_TRUE(queue.post(frame));
    ASSERT_TRUE(queue.post(notice));
  }
  EXPECT_EQ(available(frame_pool()), before);
}

TEST(FramePool, BuffersComeBackOnceAndStrangersAreLeftAlone) {
  FramePool pool(2);
  skpack* const one = pool.take();
  skpack* const two = pool.take();
  ASSERT_TRUE(one != nullptr && two != nullptr);
  EXPECT_EQ(pool.take(), nullptr);
  EXPECT_EQ(one->head, one->data);
  one->data[frame_room - 1] = 1;
  one->users = 2;
  pool.release(one);
  EXPECT_TRUE(pool.exhausted()) << "somebody still uses it";
  pool.release(one);
  EXPECT_EQ(available(pool), 1u);
  skpack stranger{};
  stranger.users = 1;
  pool.release(&stranger);
  EXPECT_EQ(available(pool), 1u);
  pool.release(one);  // once too often
  pool.release(two);
  EXPECT_EQ(available(pool), 2u);
}

TEST(FramePool, GivenBackByOneThreadAndTakenByAnotherNoneIsLostOrOutTwice) {
  constexpr int rounds = 100000;
  FramePool pool(7);
  EventQueue queue(8, event_port_change);
  std::thread giver([&] {
    for (int n = 0; n < rounds;) {
      DhcpEvent event{};
      if (!queue.take(event)) continue;
      auto* const skp = static_cast<skpack*>(event.data);
      EXPECT_EQ(skp->in_intf, static_cast<uint32_t>(n)) << "somebody else has it, too";
      pool.release(skp);
      ++n;
    }
  });
  for (int n = 0; n < rounds;) {
    skpack* const skp = pool.take();
    if (skp == nullptr) continue;
    skp->in_intf = static_cast<uint32_t>(n++);
    DhcpEvent event{};
    event.type = event_ipv4;
    event.data = skp;
    while (!queue.post(event)) {
    }
  }
  giver.join();
  EXPECT_EQ(available(pool), 7u);
}

/// A thread that receives one record and keeps it, or is cancelled while it waits.
struct Receiver {
  equeue_t* queue;
  DhcpEvent event{};
  std::atomic<int> result{99};
  static void* run(void* self) {
    auto* const me = static_cast<Receiver*>(self);
    me->result = equeue_recv(me->queue, &me->event, 1);
    return nullptr;
  }
};

TEST(DeviceQueue, BringsPortChangesAs96BytesBigEndian) {
  fabric().setup(26, {0x02, 0, 0, 0, 0, 1});
  equeue_t* const queue = equeue_make_extend("/q", 256, 1, event_port_change);
  ASSERT_NE(queue, nullptr);
  DhcpEvent event{};
  EXPECT_EQ(equeue_recv(queue, &event, 0), 0);
  Receiver receiver{queue};
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, Receiver::run, &receiver), 0);
  fabric().notify_port_change(7, 0x10000002);
  pthread_join(thread, nullptr);
  ASSERT_GT(receiver.result, 0);
  ASSERT_EQ(receiver.event.type, event_port_change);
  ASSERT_EQ(receiver.event.len, 96u);
  const auto* block = static_cast<const uint8_t*>(receiver.event.data);
  for (size_t word = 0; word < 24; ++word)
    EXPECT_EQ(load_be32(block + word * 4), word == 0 ? 7u : word == 8 ? 0x10000002u : 0u) << word;
  EXPECT_EQ(equeue_proc_finished_data(&receiver.event), 0);
  EXPECT_EQ(equeue_close(queue), 0);
}

TEST(DeviceQueue, AWaitingReceiverCanBeCancelledAndNothingStaysLocked) {
  fabric().setup(26, {0x02, 0, 0, 0, 0, 1});
  for (int round = 0; round < 50; ++round) {
    equeue_t* const queue = equeue_make_extend("/q", 256, 1, event_port_change);
    Receiver receiver{queue};
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, Receiver::run, &receiver), 0);
    if (round % 2 == 0) sched_yield();
    pthread_cancel(thread);
    void* left = nullptr;
    pthread_join(thread, &left);
    ASSERT_EQ(left, PTHREAD_CANCELED);
    fabric().with([](FabricState&) {});  // the lock is free
    ASSERT_EQ(equeue_close(queue), 0);
  }
}

TEST(DeviceQueue, ClosingEndsAWaitElsewhere) {
  fabric().setup(26, {0x02, 0, 0, 0, 0, 1});
  equeue_t* const queue = equeue_make_extend("/q", 256, 1, event_port_change);
  Receiver receiver{queue};
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, Receiver::run, &receiver), 0);
  while (!fabric().consumer_waits()) sched_yield();
  EXPECT_EQ(equeue_close(queue), 0);
  pthread_join(thread, nullptr);
  EXPECT_EQ(receiver.result, -1);
  EXPECT_EQ(equeue_make_extend("/q", 0, 1, event_port_change), nullptr);
}

}  // namespace
}  // namespace dhcp::softswitch::test
