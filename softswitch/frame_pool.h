/// Frame buffers for the CPU, made once: taking and giving one back never allocates, and never waits.
///
/// One thread at a time takes (whoever holds the fabric's lock); any thread gives back.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

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
  /// All buffers are out; for whoever takes.
  bool exhausted() const;

 private:
  struct Buffer {
    skpack skp;
    Buffer* next;
    uint8_t room[frame_room];
  };
  bool owns(const skpack* skp) const;
  Buffer* unused();

  const size_t count_;
  std::unique_ptr<Buffer[]> buffers_;
  size_t touched_ = 0;                        // buffers behind these have never been out, and take no memory yet
  Buffer* free_ = nullptr;                    // the taker's own
  std::atomic<Buffer*> given_back_{nullptr};  // last in, first out; taken over as a whole
};

FramePool& frame_pool();

}  // namespace dhcp::softswitch
