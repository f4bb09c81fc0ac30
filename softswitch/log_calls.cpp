/// The device's log and trace on the switch's log and on a ring of records in memory.
#include <time.h>

#include <atomic>
#include <deque>
#include <mutex>

#include "platform/log.h"
#include "softswitch/cancel_hold.h"
#include "softswitch/log.h"
#include "softswitch/trace.h"

namespace dhcp::softswitch {
namespace {

constexpr size_t trace_depth = 512;

std::atomic<int> trace_on{0};

struct Trace {
  std::mutex lock;
  std::deque<TraceRecord> records;
};

Trace& trace() {
  static Trace the_trace;
  return the_trace;
}

}  // namespace

void set_trace(bool on) { trace_on = on ? 1 : 0; }

std::vector<TraceRecord> trace_records() {
  const HeldLock held(trace().lock);
  return {trace().records.begin(), trace().records.end()};
}

}  // namespace dhcp::softswitch

using namespace dhcp::softswitch;

int Log_logging_func(int level, int /*module*/, const char* name, const char* fmt, ...) {
  if (!log_wants(level)) return 0;
  va_list args;
  va_start(args, fmt);
  log_formatted(level, name, fmt, args);
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
