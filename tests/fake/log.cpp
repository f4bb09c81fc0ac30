#include <cstdarg>
#include <cstdio>

#include "platform/log.h"
#include "tests/fake/device.h"

int Log_logging_func(int level, int module, const char* name, const char* fmt, ...) {
  if (!fake::device().keeps_log) return 0;
  char text[2048];
  va_list args;
  va_start(args, fmt);
  vsnprintf(text, sizeof text, fmt, args);
  va_end(args);
  fake::device().record(&fake::Device::log_, {level, module, name, text});
  return 0;
}

int sys_trace_get() { return fake::device().tracing ? 1 : 0; }

int sys_trace_add_log(const char* location, const char* message) {
  fake::device().record(&fake::Device::traces_, {location, message});
  return 0;
}
