#include "base/log.h"

#include <cstdarg>
#include <cstdio>

namespace dhcp::base {

void trace(const char* function, int line, const char* fmt, ...) {
  constexpr size_t text_size = 1024;  // 1023 characters and the terminator
  char location[text_size];
  char message[text_size];
  va_list args;
  va_start(args, fmt);
  vsnprintf(message, sizeof message, fmt, args);
  va_end(args);
  snprintf(location, sizeof location, "%s():%d", function, line);
  sys_trace_add_log(location, message);
}

}  // namespace dhcp::base
