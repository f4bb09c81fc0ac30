#include "softswitch/event_queue.h"

#include <cstdlib>

#include "platform/adp.h"

namespace dhcp::softswitch {

EventQueue::EventQueue(uint32_t capacity, uint32_t payload_type) : capacity_(capacity), payload_type_(payload_type) {
  incoming_.reserve(capacity);
  batch_.reserve(capacity);
}

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
  const std::lock_guard guard(lock_);
  if (full()) return false;
  incoming_.push_back(event);
  posted_.fetch_add(1, std::memory_order_relaxed);
  const uint32_t depth = depth_.fetch_add(1) + 1;
  if (depth > highest_.load(std::memory_order_relaxed)) highest_.store(depth, std::memory_order_relaxed);
  return true;
}

bool EventQueue::take(DhcpEvent& out) {
  if (next_ == batch_.size()) {
    if (depth_.load() == 0) return false;
    batch_.clear();
    next_ = 0;
    const std::lock_guard guard(lock_);
    batch_.swap(incoming_);
    if (batch_.empty()) return false;
  }
  out = batch_[next_++];
  depth_.fetch_sub(1, std::memory_order_relaxed);
  return true;
}

QueueCounters EventQueue::counters() const {
  QueueCounters counters;
  counters.posted = posted_.load();
  counters.dropped_full = dropped_full_.load();
  counters.depth = depth_.load();
  counters.highest = highest_.load();
  counters.capacity = capacity_;
  return counters;
}

}  // namespace dhcp::softswitch
