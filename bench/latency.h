/// Latencies of a run, in microseconds. Bounded: beyond the limit, later samples are counted but not kept.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace dhcp::bench {

class Latencies {
 public:
  explicit Latencies(size_t limit = 4'000'000) : limit_(limit) {}
  void add(int64_t nanoseconds) {
    if (samples_.size() < limit_) samples_.push_back(static_cast<float>(nanoseconds) / 1000.0F);
  }
  /// The value that `share` (0 to 1) of the samples do not exceed; 0 without samples.
  double quantile(double share) {
    if (samples_.empty()) return 0;
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(samples_.size() - 1));
    std::nth_element(samples_.begin(), samples_.begin() + rank, samples_.end());
    return static_cast<double>(samples_[static_cast<size_t>(rank)]);
  }

 private:
  size_t limit_;
  std::vector<float> samples_;
};

}  // namespace dhcp::bench
