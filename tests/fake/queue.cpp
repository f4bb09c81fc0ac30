/// The event queue: unbounded, in memory, with a blocking receive that can be cancelled.
#include "platform/queue.h"

#include <pthread.h>

#include <deque>
#include <new>

#include "tests/fake/device.h"

struct equeue {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  std::deque<DhcpEvent> events;
  bool closed = false;
};

namespace {

std::mutex open_mutex;
equeue* open_queue = nullptr;

void unlock(void* mutex) { pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex)); }

/// Under open_mutex, so that the queue cannot go away meanwhile.
template <class Change>
bool change_open_queue(Change change) {
  const std::lock_guard lock(open_mutex);
  if (open_queue == nullptr) return false;
  pthread_mutex_lock(&open_queue->mutex);
  change(*open_queue);
  pthread_cond_broadcast(&open_queue->changed);
  pthread_mutex_unlock(&open_queue->mutex);
  return true;
}

}  // namespace

bool fake::Device::post(const DhcpEvent& event) {
  return change_open_queue([&](equeue& queue) { queue.events.push_back(event); });
}

void fake::Device::close_queue() {
  change_open_queue([](equeue& queue) { queue.closed = true; });
}

equeue_t* equeue_make_extend(const char* name, int entries, int arg, uint32_t payload_type) {
  fake::Device& device = fake::device();
  device.call(std::string("equeue_make_extend(") + name + "," + std::to_string(entries) + "," + std::to_string(arg) +
              "," + std::to_string(payload_type) + ")");
  if (device.queue_cannot_be_made) return nullptr;
  const std::lock_guard lock(open_mutex);
  ++device.queues_open_;
  return open_queue = new equeue;
}

int equeue_recv(equeue_t* queue, DhcpEvent* out, int) {
  int result = -1;
  pthread_mutex_lock(&queue->mutex);
  pthread_cleanup_push(unlock, &queue->mutex);
  while (queue->events.empty() && !queue->closed) pthread_cond_wait(&queue->changed, &queue->mutex);
  if (!queue->events.empty()) {
    *out = queue->events.front();
    queue->events.pop_front();
    result = 1;
  }
  pthread_cleanup_pop(1);
  return result;
}

int equeue_proc_finished_data(DhcpEvent*) {
  ++fake::device().blocks_handed_back_;
  return 0;
}

int equeue_close(equeue_t* queue) {
  const std::lock_guard lock(open_mutex);
  --fake::device().queues_open_;
  if (open_queue == queue) open_queue = nullptr;
  delete queue;
  return 0;
}
