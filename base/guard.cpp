#include "base/guard.h"

#include <cerrno>

#include "base/log.h"
#include "base/os.h"

namespace dhcp::base {

BusyGuard::BusyGuard(std::atomic<uint32_t>& word) : word_(word) {
  uint32_t free = 0;
  while (!word_.compare_exchange_strong(free, word_taken, std::memory_order_acquire)) {
    os.sleep_us(word_wait_us);
    free = 0;
  }
}

ReadGuard::ReadGuard(std::atomic<uint32_t>& word) : word_(word) {
  uint32_t seen = word_.load(std::memory_order_relaxed);
  for (;;) {
    // 254 readers are as many as the word can tell from a changer.
    if (seen >= word_taken - 1) {
      os.sleep_us(word_wait_us);
      seen = word_.load(std::memory_order_relaxed);
    } else if (word_.compare_exchange_weak(seen, seen + 1, std::memory_order_acquire)) {
      return;
    }
  }
}

int take_semaphore(sem_t& semaphore, const char* function, int line) {
  int result = 0;
  do {
    result = sem_wait(&semaphore);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    DHCP_LOG_FROM(function, line, 7, module_frame, "dhcpc", "[%s:%d]  mutex/semp lock/wait failed!~\n", function, line);
  }
  return result;
}

int give_semaphore(sem_t& semaphore, const char* function, int line) {
  const int result = sem_post(&semaphore);
  if (result != 0) {
    DHCP_LOG_FROM(function, line, 7, module_frame, "dhcpc", "[%s:%d]  mutex/semp unlock/post failed!~\n", function,
                  line);
  }
  return result;
}

SemaphoreGuard::SemaphoreGuard(int (*take)(), int (*give)(), const char* locking, const char* unlocking)
    : give_(give), unlocking_(unlocking), owned_(false) {
  DHCP_LOG(module_frame, "dhcpc", "%s", locking);
  owned_ = take() == 0;
}

SemaphoreGuard::~SemaphoreGuard() {
  DHCP_LOG(module_frame, "dhcpc", "%s", unlocking_);
  if (owned_) give_();
}

}  // namespace dhcp::base
