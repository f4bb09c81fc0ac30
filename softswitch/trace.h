/// The device's trace: a ring of records in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dhcp::softswitch {

struct TraceRecord {
  int64_t time = 0;  // seconds since the epoch
  std::string location, message;
};
void set_trace(bool on);
std::vector<TraceRecord> trace_records();  // oldest first

}  // namespace dhcp::softswitch
