/// Points and spans of time as the displays of both servers write them.
#pragma once

#include <cstdint>

namespace dhcp::base {

/// Local time of a second since the epoch, as "Tue Nov 14 22:13:20 2023".
class DateText {
 public:
  explicit DateText(uint32_t seconds);
  const char* c_str() const { return text_; }

 private:
  char text_[64];
};

/// What is left of a lease, rounded up to the next minute, as "1Day 0Hour 1Min".
class TimeLeftText {
 public:
  explicit TimeLeftText(uint32_t seconds);
  const char* c_str() const { return text_; }

 private:
  char text_[32];
};

}  // namespace dhcp::base
