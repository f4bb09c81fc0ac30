#include "softswitch/rate_limit.h"

#include <algorithm>

namespace dhcp::softswitch {

bool RateLimit::set(uint32_t queue, uint32_t frames_per_second) {
  if (queue >= cpu_queues) return false;
  buckets_[queue] = {frames_per_second, 0, 0, false};
  return true;
}

bool RateLimit::admit(uint32_t queue, uint64_t now_ms) {
  Bucket& bucket = buckets_[queue % cpu_queues];
  if (bucket.rate == 0) return true;
  const uint64_t full = uint64_t{bucket.rate} * 1000;
  const uint64_t passed = std::min<uint64_t>(now_ms - bucket.filled_ms, 1000);
  bucket.credit = bucket.primed ? std::min(full, bucket.credit + passed * bucket.rate) : full;
  bucket.primed = true;
  bucket.filled_ms = now_ms;
  if (bucket.credit < 1000) {
    ++refused_;
    return false;
  }
  bucket.credit -= 1000;
  return true;
}

}  // namespace dhcp::softswitch
