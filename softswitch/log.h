/// The switch's log: levels as in syslog, to standard error or to syslog; and the trace, a ring of records in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dhcp::softswitch {

void set_log_level(int level);  // lines above it cost nothing
int log_level();
void log_to_syslog();  // until then, standard error

/// A line of the switch's own.
void log_line(int level, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

struct TraceRecord {
  int64_t time = 0;  // seconds since the epoch
  std::string location, message;
};
void set_trace(bool on);
std::vector<TraceRecord> trace_records();  // oldest first

}  // namespace dhcp::softswitch
