/// The service's mutex: it exists from the moment the library is loaded, because the host may call before it starts the
/// module, and is never destroyed. It is recursive, because exported functions use one another.
#include <pthread.h>

#include "snooping6/snooping6.h"

namespace dhcp::snooping6 {

namespace {

pthread_mutex_t mutex;

[[maybe_unused]] const bool made_at_load = [] {
  pthread_mutexattr_t recursive;
  pthread_mutexattr_init(&recursive);
  pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutex, &recursive);
  pthread_mutexattr_destroy(&recursive);
  return true;
}();

}  // namespace

Lock::Lock() { pthread_mutex_lock(&mutex); }
Lock::~Lock() { pthread_mutex_unlock(&mutex); }

}  // namespace dhcp::snooping6
