#include "softswitch/frame_pool.h"

#include <atomic>
#include <functional>
#include <utility>

#include "softswitch/frame_map.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t pool_frames = 512;  // the event queue twice over

}  // namespace

FramePool::FramePool(size_t frames) : count_(frames), buffers_(new Buffer[frames]) {}

bool FramePool::exhausted() const {
  return free_ == nullptr && touched_ == count_ && given_back_.load(std::memory_order_relaxed) == nullptr;
}

FramePool::Buffer* FramePool::unused() {
  if (free_ == nullptr) free_ = given_back_.exchange(nullptr, std::memory_order_acquire);
  if (free_ != nullptr) return std::exchange(free_, free_->next);
  return touched_ < count_ ? &buffers_[touched_++] : nullptr;
}

skpack* FramePool::take() {
  Buffer* const buffer = unused();
  if (buffer == nullptr) return nullptr;
  buffer->skp = {};
  buffer->skp.users = 1;
  buffer->skp.head = buffer->skp.data = buffer->room;
  return &buffer->skp;
}

bool FramePool::owns(const skpack* skp) const {
  const auto* at = reinterpret_cast<const Buffer*>(skp);
  return !std::less<>()(at, &buffers_[0]) && std::less<>()(at, &buffers_[0] + count_);
}

void FramePool::release(skpack* skp) {
  if (!owns(skp)) return;
  if (std::atomic_ref(skp->users).fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  auto* const buffer = reinterpret_cast<Buffer*>(skp);
  buffer->next = given_back_.load(std::memory_order_relaxed);
  while (!given_back_.compare_exchange_weak(buffer->next, buffer, std::memory_order_release)) {
  }
}

FramePool& frame_pool() {
  static FramePool pool(pool_frames);
  return pool;
}

}  // namespace dhcp::softswitch

void skpack_release(skpack* skp) { dhcp::softswitch::frame_pool().release(skp); }

int __adp_receive_frame(skpack* skp, int /*flag*/) { return dhcp::softswitch::point_headers(*skp) ? 0 : -1; }
