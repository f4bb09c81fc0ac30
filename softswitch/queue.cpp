/// The device's queue calls on the event queue and the fabric's loop.
#include "platform/queue.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "softswitch/event_queue.h"
#include "softswitch/fabric.h"
#include "softswitch/follow_bindings.h"
#include "softswitch/queue_thread.h"

using namespace dhcp::softswitch;

struct equeue {
  EventQueue ring;
  std::atomic<bool> closed{false};
  std::atomic<int> users{1};  // the owner, and a receiver that waits
  equeue(uint32_t capacity, uint32_t payload_type) : ring(capacity, payload_type) {}
};

namespace {

/// Keeps the queue alive while a receiver may be waiting in it, also when that receiver is cancelled.
class Pin {
 public:
  explicit Pin(equeue* queue) : queue_(queue) { ++queue_->users; }
  ~Pin() { drop(queue_); }
  Pin(const Pin&) = delete;
  Pin& operator=(const Pin&) = delete;

  static void drop(equeue* queue) {
    if (--queue->users == 0) delete queue;
  }

 private:
  equeue* queue_;
};

thread_local bool drains = false;

}  // namespace

bool dhcp::softswitch::drains_queue() { return drains; }

equeue_t* equeue_make_extend(const char* /*name*/, int entries, int /*arg*/, uint32_t payload_type) {
  if (entries <= 0) return nullptr;
  auto* const queue = new (std::nothrow) equeue(static_cast<uint32_t>(entries), payload_type);
  if (queue != nullptr) fabric().connect(queue->ring);
  return queue;
}

int equeue_recv(equeue_t* queue, DhcpEvent* out, int wait) {
  drains = true;
  note_handled();
  int got = 1;
  if (!queue->ring.take(*out)) {
    const Pin pin(queue);
    if (queue->closed) return -1;
    got = fabric().serve(queue->ring, *out, wait != 0, queue->closed);
  }
  if (got == 1) note_taken(*out);
  return got;
}

int equeue_proc_finished_data(DhcpEvent* event) {
  std::free(event->data);
  event->data = nullptr;
  return 0;
}

int equeue_close(equeue_t* queue) {
  drains = false;
  fabric().disconnect(queue->ring);
  queue->closed = true;
  fabric().wake();
  Pin::drop(queue);
  return 0;
}
