#include "base/time_text.h"

#include <cstdio>
#include <ctime>

namespace dhcp::base {

namespace {

constexpr uint32_t day_s = 86400, hour_s = 3600, minute_s = 60;

}  // namespace

DateText::DateText(uint32_t seconds) {
  const auto when = static_cast<time_t>(seconds);
  tm local{};
  localtime_r(&when, &local);
  strftime(text_, sizeof text_, "%a %h %e %H:%M:%S %Y", &local);
}

TimeLeftText::TimeLeftText(uint32_t seconds) {
  snprintf(text_, sizeof text_, "%dDay %dHour %dMin", static_cast<uint16_t>(seconds / day_s),
           static_cast<int>(seconds % day_s / hour_s), static_cast<int>(seconds % day_s % hour_s / minute_s + 1));
}

}  // namespace dhcp::base
