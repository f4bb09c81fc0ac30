#include "softswitch/log.h"

#include <syslog.h>
#include <time.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>

#include "platform/log.h"
#include "softswitch/cancel_hold.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t line_room = 1280;
constexpr size_t trace_depth = 512;

std::atomic<int> threshold{LOG_INFO};
std::atomic<bool> syslog_on{false};
std::atomic<int> trace_on{0};

struct Trace {
  std::mutex lock;
  std::deque<TraceRecord> records;
};

Trace& trace() {
  static Trace the_trace;
  return the_trace;
}

/// Texts of the device end in line breaks of either kind, or in none.
void cut_line_end(char* text) {
  size_t length = std::strlen(text);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) text[--length] = '\0';
}

void write_line(int level, const char* name, const char* text) {
  if (syslog_on) {
    syslog(level, "%s: %s", name, text);
    return;
  }
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  localtime_r(&now.tv_sec, &parts);
  std::fprintf(stderr, "%02d:%02d:%02d.%03d <%d> %s: %s\n", parts.tm_hour, parts.tm_min, parts.tm_sec,
               static_cast<int>(now.tv_nsec / 1000000), level, name, text);
}

__attribute__((format(printf, 3, 0))) void write_formatted(int level, const char* name, const char* fmt, va_list args) {
  const CancelHold hold;
  char text[line_room];
  std::vsnprintf(text, sizeof text, fmt, args);
  cut_line_end(text);
  write_line(level, name, text);
}

}  // namespace

void set_log_level(int level) { threshold = level; }
int log_level() { return threshold; }

void log_to_syslog() {
  openlog("softswitch", LOG_PID, LOG_DAEMON);
  syslog_on = true;
}

void log_line(int level, const char* fmt, ...) {
  if (level > threshold.load(std::memory_order_relaxed)) return;
  va_list args;
  va_start(args, fmt);
  write_formatted(level, "switch", fmt, args);
  va_end(args);
}

void set_trace(bool on) { trace_on = on ? 1 : 0; }

std::vector<TraceRecord> trace_records() {
  const HeldLock held(trace().lock);
  return {trace().records.begin(), trace().records.end()};
}

}  // namespace dhcp::softswitch

using namespace dhcp::softswitch;

int Log_logging_func(int level, int /*module*/, const char* name, const char* fmt, ...) {
  if (level > threshold.load(std::memory_order_relaxed)) return 0;
  va_list args;
  va_start(args, fmt);
  write_formatted(level, name, fmt, args);
  va_end(args);
  return 0;
}

int sys_trace_get() { return trace_on.load(std::memory_order_relaxed); }

int sys_trace_add_log(const char* location, const char* message) {
  TraceRecord record{time(nullptr), location, message};
  const HeldLock held(trace().lock);
  if (trace().records.size() == trace_depth) trace().records.pop_front();
  trace().records.push_back(std::move(record));
  return 0;
}
