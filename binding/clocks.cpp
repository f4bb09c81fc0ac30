#include "binding/clocks.h"

#include "base/os.h"

namespace dhcp::binding {

namespace {

constexpr int few = 100, many = 1024;
constexpr int32_t period_of_many_s = 61;

int32_t elapsed(uint32_t last, uint32_t now) { return static_cast<int32_t>(now - last); }

}  // namespace

int count_class(int count) {
  if (count <= few) return 0;
  return count <= many ? few : many;
}

bool AgeingClock::due(int count, int32_t min_lease) {
  const uint32_t now = base::now32();
  if (count_class(count) == many) {
    if (elapsed(last_, now) < period_of_many_s) return false;
    last_ = now;
    return true;
  }
  const bool running = last_ != 0 && min_lease != 0;
  if (running && elapsed(last_, now) <= min_lease / 2) return false;
  last_ = now;
  return running;
}

bool CycleClock::due(int32_t interval_s) {
  const uint32_t now = base::now32();
  if (last_ == 0) {
    last_ = now;
    return false;
  }
  if (elapsed(last_, now) <= interval_s) return false;
  last_ = now;
  return true;
}

}  // namespace dhcp::binding
