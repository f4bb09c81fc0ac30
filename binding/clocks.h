/// When to age the bindings and when to save them: both clocks are asked every two seconds and mostly say no.
#pragma once

#include <cstdint>

namespace dhcp::binding {

/// How many bindings there are, as the ageing clock sees it: 0 up to 100, 100 up to 1024, 1024 above.
int count_class(int count);

/// Takes a lease into the shortest one seen, which sets the ageing period: the first one as it is, a shorter non-zero
/// one afterwards.
inline void note_lease(int32_t& shortest, int32_t lease) {
  if (shortest == 0 || (lease != 0 && lease < shortest)) shortest = lease;
}

/// Ageing comes every half of the shortest lease. While no lease has been seen nothing is aged.
class AgeingClock {
 public:
  bool due(int count, int32_t min_lease);
  void reset() { last_ = 0; }

 private:
  uint32_t last_ = 0;  // 0 = not started
};

/// Says yes once an interval; its first call only starts it.
class CycleClock {
 public:
  bool due(int32_t interval_s);
  void reset() { last_ = 0; }

 private:
  uint32_t last_ = 0;  // 0 = not started
};

}  // namespace dhcp::binding
