#include "softswitch/event_queue.h"

#include <cstdlib>

#include "platform/adp.h"

namespace dhcp::softswitch {

EventQueue::EventQueue(uint32_t capacity, uint32_t payload_type) : records_(capacity), payload_type_(payload_type) {}

EventQueue::~EventQueue() {
  DhcpEvent event;
  while (take(event)) discard(event);
}

void EventQueue::discard(const DhcpEvent& event) const {
  if (event.type == payload_type_) {
    std::free(event.data);
  } else if (event.data != nullptr) {
    skpack_release(static_cast<skpack*>(event.data));
  }
}

bool EventQueue::post(const DhcpEvent& event) {
  if (full()) return false;
  records_[in_] = event;
  in_ = behind(in_);
  posted_.store(posted_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
  const auto waiting = static_cast<uint32_t>(depth());
  if (waiting > highest_.load(std::memory_order_relaxed)) highest_.store(waiting, std::memory_order_relaxed);
  return true;
}

bool EventQueue::take(DhcpEvent& out) {
  const uint64_t taken = taken_.load(std::memory_order_relaxed);
  if (posted_.load(std::memory_order_acquire) == taken) return false;
  out = records_[out_];
  out_ = behind(out_);
  taken_.store(taken + 1, std::memory_order_release);
  return true;
}

QueueCounters EventQueue::counters() const {
  QueueCounters counters;
  counters.posted = posted_.load(std::memory_order_relaxed);
  counters.dropped_full = dropped_full_.load();
  counters.depth = static_cast<uint32_t>(depth());
  counters.highest = highest_.load();
  counters.capacity = static_cast<uint32_t>(records_.size());
  return counters;
}

}  // namespace dhcp::softswitch
