/* platform/queue.h: a ring, a mutex, a condition. */
#include "platform/queue.h"

#include <pthread.h>
#include <stdlib.h>

#include "platform/adp.h"
#include "queue.h"

struct equeue {
  pthread_mutex_t lock;
  pthread_cond_t changed;
  uint32_t payload_type;
  unsigned entries, first, count;
  struct DhcpEvent ring[];
};

static pthread_mutex_t open_lock = PTHREAD_MUTEX_INITIALIZER;
static equeue_t* open_queue; /* the module makes one */

equeue_t* equeue_make_extend(const char* name, int entries, int arg, uint32_t payload_type) {
  (void)name, (void)arg;
  equeue_t* queue = calloc(1, sizeof *queue + (size_t)entries * sizeof queue->ring[0]);
  if (queue == NULL) return NULL;
  pthread_mutex_init(&queue->lock, NULL);
  pthread_cond_init(&queue->changed, NULL);
  queue->payload_type = payload_type;
  queue->entries = (unsigned)entries;
  pthread_mutex_lock(&open_lock);
  open_queue = queue;
  pthread_mutex_unlock(&open_lock);
  return queue;
}

static int post(equeue_t* queue, const struct DhcpEvent* event) {
  pthread_mutex_lock(&queue->lock);
  const int full = queue->count == queue->entries;
  if (!full) queue->ring[(queue->first + queue->count++) % queue->entries] = *event;
  pthread_cond_signal(&queue->changed);
  pthread_mutex_unlock(&queue->lock);
  return full ? -1 : 0;
}

int example_post(const struct DhcpEvent* event) {
  pthread_mutex_lock(&open_lock);
  const int result = open_queue == NULL ? -1 : post(open_queue, event);
  pthread_mutex_unlock(&open_lock);
  return result;
}

static void unlock(void* lock) { pthread_mutex_unlock(lock); }

/* Waiting is where the module's dispatch task is cancelled; -fexceptions lets the cancellation pass through here to the
   module's own clean-up. */
int equeue_recv(equeue_t* queue, struct DhcpEvent* out, int wait) {
  int got = 0;
  pthread_mutex_lock(&queue->lock);
  pthread_cleanup_push(unlock, &queue->lock);
  while (wait && queue->count == 0) pthread_cond_wait(&queue->changed, &queue->lock);
  if (queue->count > 0) {
    *out = queue->ring[queue->first];
    queue->first = (queue->first + 1) % queue->entries;
    --queue->count;
    got = 1;
  }
  pthread_cleanup_pop(1);
  return got;
}

int equeue_proc_finished_data(struct DhcpEvent* event) {
  free(event->data);
  event->data = NULL;
  return 0;
}

int equeue_close(equeue_t* queue) {
  struct DhcpEvent left;
  pthread_mutex_lock(&open_lock);
  open_queue = NULL;
  pthread_mutex_unlock(&open_lock);
  while (equeue_recv(queue, &left, 0) == 1) {
    if (left.type == queue->payload_type) {
      free(left.data);
    } else {
      skpack_release(left.data);
    }
  }
  pthread_cond_destroy(&queue->changed);
  pthread_mutex_destroy(&queue->lock);
  free(queue);
  return 0;
}
