/// The event queue: a bounded ring of records with one consumer, the module's dispatch task.
///
/// Who posts holds the fabric's lock, so there is one producer at a time; neither it nor the consumer waits for the
/// other. A full queue is not an error: whoever posts frames leaves them in the kernel's buffer
/// as long as the consumer is at work, see fabric.h.
#pragma once

#include <atomic>
#include <vector>

#include "platform/queue.h"
#include "softswitch/control.h"

namespace dhcp::softswitch {

inline constexpr uint32_t event_ipv4 = 1, event_ipv6 = 4, event_port_change = 0x80000002;
inline constexpr uint32_t port_notice_size = 96;

class EventQueue {
 public:
  EventQueue(uint32_t capacity, uint32_t payload_type);
  ~EventQueue();  // releases the frames and blocks that nobody took
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  bool full() const { return depth() >= records_.size(); }
  /// False when full; the record's block stays the caller's then.
  bool post(const DhcpEvent& event);
  void count_dropped() { dropped_full_.fetch_add(1, std::memory_order_relaxed); }
  /// The consumer's side: the oldest record, or false.
  bool take(DhcpEvent& out);

  uint32_t payload_type() const { return payload_type_; }
  /// `dropped_rate` is not the queue's business and stays 0.
  QueueCounters counters() const;

 private:
  void discard(const DhcpEvent& event) const;

  uint64_t depth() const {
    const uint64_t taken = taken_.load(std::memory_order_acquire);  // first: it never overtakes the other
    return posted_.load(std::memory_order_acquire) - taken;
  }
  size_t behind(size_t at) const { return at + 1 == records_.size() ? 0 : at + 1; }

  std::vector<DhcpEvent> records_;
  const uint32_t payload_type_;
  size_t in_ = 0, out_ = 0;  // the producer's place, and the consumer's: a division less with every record
  std::atomic<uint64_t> posted_{0}, taken_{0}, dropped_full_{0};
  std::atomic<uint32_t> highest_{0};
};

}  // namespace dhcp::softswitch
