/// The clock of all measurements.
#pragma once

#include <cstdint>
#include <ctime>

namespace dhcp::bench {

inline constexpr int64_t second_ns = 1'000'000'000;

/// Monotonic.
inline int64_t now_ns() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * second_ns + now.tv_nsec;
}

}  // namespace dhcp::bench
