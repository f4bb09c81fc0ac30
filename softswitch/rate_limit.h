/// Rate limits of the CPU queues: what keeps a flood on the wire from drowning the module. Guarded by the fabric's
/// lock.
#pragma once

#include <array>
#include <cstdint>

namespace dhcp::softswitch {

inline constexpr uint32_t cpu_queues = 8;

/// One token bucket a queue, as deep as one second's worth of frames.
class RateLimit {
 public:
  /// 0 = unlimited. False for a queue that there is not.
  bool set(uint32_t queue, uint32_t frames_per_second);
  uint32_t get(uint32_t queue) const { return buckets_[queue % cpu_queues].rate; }
  /// Whether one more frame may pass at `now_ms`; counts those that may not.
  bool admit(uint32_t queue, uint64_t now_ms);
  uint64_t refused() const { return refused_; }

 private:
  struct Bucket {
    uint32_t rate = 0;
    uint64_t credit = 0;  // thousandths of a frame
    uint64_t filled_ms = 0;
    bool primed = false;  // full from the first frame on
  };
  std::array<Bucket, cpu_queues> buckets_{};
  uint64_t refused_ = 0;
};

}  // namespace dhcp::softswitch
