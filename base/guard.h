/// Scope guards: busy words, reader/writer words and semaphores that cannot be left taken.
///
/// While any guard is held the thread cannot be cancelled, so a task that is stopped never leaves a word or a
/// semaphore behind. The words keep their documented values (0 free, 255 held by a changer, 1..254 readers).
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>

namespace dhcp::base {

inline constexpr uint32_t word_taken = 255;
inline constexpr uint32_t word_wait_us = 500000;

/// Holds thread cancellation off for a scope.
class CancelHold {
 public:
  CancelHold() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~CancelHold() { pthread_setcancelstate(before_, nullptr); }
  CancelHold(const CancelHold&) = delete;
  CancelHold& operator=(const CancelHold&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

/// Holds a mutex for a scope.
class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~MutexGuard() { pthread_mutex_unlock(&mutex_); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  CancelHold hold_;
  pthread_mutex_t& mutex_;
};

/// Takes a word that only one may hold: waits in half-second steps until it is 0, sets 255, and 0 again at the end.
class BusyGuard {
 public:
  explicit BusyGuard(std::atomic<uint32_t>& word);
  ~BusyGuard() { word_.store(0, std::memory_order_release); }
  BusyGuard(const BusyGuard&) = delete;
  BusyGuard& operator=(const BusyGuard&) = delete;

 private:
  CancelHold hold_;
  std::atomic<uint32_t>& word_;
};

/// Changer of a reader/writer word: the same rule, since readers too make the word non-zero.
using WriteGuard = BusyGuard;

/// Reader of a reader/writer word: counts itself in while no changer holds 255, and out at the end.
class ReadGuard {
 public:
  explicit ReadGuard(std::atomic<uint32_t>& word);
  ~ReadGuard() { word_.fetch_sub(1, std::memory_order_release); }
  ReadGuard(const ReadGuard&) = delete;
  ReadGuard& operator=(const ReadGuard&) = delete;

 private:
  CancelHold hold_;
  std::atomic<uint32_t>& word_;
};

/// sem_wait, retried after a signal. A real failure is logged with the caller's name and line; then the lock is not
/// owned and must not be given back. 0 or -1.
int take_semaphore(sem_t& semaphore, const char* function, int line);
int give_semaphore(sem_t& semaphore, const char* function, int line);

/// A scope that owns a service's semaphore, bracketed by the service's two log texts. The word "unlocking" is logged
/// before the semaphore is given back.
class SemaphoreGuard {
 public:
  SemaphoreGuard(int (*take)(), int (*give)(), const char* locking, const char* unlocking);
  ~SemaphoreGuard();
  SemaphoreGuard(const SemaphoreGuard&) = delete;
  SemaphoreGuard& operator=(const SemaphoreGuard&) = delete;

 private:
  CancelHold hold_;
  int (*give_)();
  const char* unlocking_;
  bool owned_;
};

}  // namespace dhcp::base
