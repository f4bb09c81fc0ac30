/// Holds thread cancellation off for a scope: a task that is stopped must not leave a lock of the switch taken.
#pragma once

#include <pthread.h>

#include <mutex>

/// On functions that a cancelled task leaves in the middle: the address sanitizer marks a frame's surroundings and does
/// not take the marks away when a cancellation unwinds it.
#define SOFTSWITCH_LEFT_BY_CANCEL __attribute__((no_sanitize("address")))

namespace dhcp::softswitch {

class CancelHold {
 public:
  CancelHold() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~CancelHold() { pthread_setcancelstate(before_, nullptr); }
  CancelHold(const CancelHold&) = delete;
  CancelHold& operator=(const CancelHold&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

/// A mutex held over system calls that would otherwise be cancellation points.
class HeldLock {
 public:
  explicit HeldLock(std::mutex& mutex) : guard_(mutex) {}
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  CancelHold hold_;  // first in, last out
  std::lock_guard<std::mutex> guard_;
};

}  // namespace dhcp::softswitch
