/// Frame buffers for the CPU, made once: taking and giving one back never allocates. Any thread may do either.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/adp.h"

namespace dhcp::softswitch {

inline constexpr uint32_t frame_room = 1600;  // the module may let a received frame grow this far

class FramePool {
 public:
  explicit FramePool(size_t frames);
  /// A buffer whose head and data point at `frame_room` bytes, users 1; null = all are out.
  skpack* take();
  /// Gives up one use; the last one returns the buffer. Buffers of others are left alone.
  void release(skpack* skp);
  size_t available() const { return available_.load(std::memory_order_relaxed); }

 private:
  struct Buffer {
    skpack skp;
    uint8_t room[frame_room];
  };
  bool owns(const skpack* skp) const;

  const size_t count_;
  std::unique_ptr<Buffer[]> buffers_;
  std::mutex lock_;
  std::atomic<size_t> available_;
  std::vector<skpack*> free_;  // last in, first out: the warmest buffer is used next
};

FramePool& frame_pool();

}  // namespace dhcp::softswitch
