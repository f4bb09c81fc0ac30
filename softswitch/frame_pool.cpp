#include "softswitch/frame_pool.h"

#include <atomic>
#include <functional>

#include "softswitch/frame_map.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t pool_frames = 512;  // the event queue twice over

}  // namespace

FramePool::FramePool(size_t frames) : count_(frames), buffers_(new Buffer[frames]), available_(frames) {
  free_.reserve(frames);
  for (size_t i = frames; i-- > 0;) free_.push_back(&buffers_[i].skp);
}

skpack* FramePool::take() {
  skpack* skp = nullptr;
  {
    const std::lock_guard guard(lock_);
    if (free_.empty()) return nullptr;
    skp = free_.back();
    free_.pop_back();
    available_.store(free_.size(), std::memory_order_relaxed);
  }
  *skp = {};
  skp->users = 1;
  skp->head = skp->data = reinterpret_cast<Buffer*>(skp)->room;
  return skp;
}

bool FramePool::owns(const skpack* skp) const {
  const auto* at = reinterpret_cast<const Buffer*>(skp);
  return !std::less<>()(at, &buffers_[0]) && std::less<>()(at, &buffers_[0] + count_);
}

void FramePool::release(skpack* skp) {
  if (!owns(skp)) return;
  if (std::atomic_ref(skp->users).fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  const std::lock_guard guard(lock_);
  free_.push_back(skp);
  available_.store(free_.size(), std::memory_order_relaxed);
}

FramePool& frame_pool() {
  static FramePool pool(pool_frames);
  return pool;
}

}  // namespace dhcp::softswitch

void skpack_release(skpack* skp) { dhcp::softswitch::frame_pool().release(skp); }

int __adp_receive_frame(skpack* skp, int /*flag*/) { return dhcp::softswitch::point_headers(*skp) ? 0 : -1; }
