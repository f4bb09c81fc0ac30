/// The module's records as its public headers give them: lists that are walked, and calls that copy.
#pragma once

#include <vector>

#include "dhcp/types.h"

namespace dhcp::softswitch::cli {

/// Calls `use(const Record&)` for each record of a list, in its order; the caller holds what guards the list.
template <class Record, class Use>
void each_record(const DhcpListHead& head, Use use) {
  for (const DhcpListHead* at = head.next; at != nullptr && at != &head; at = at->next)
    use(*reinterpret_cast<const Record*>(at));
}

/// All records of one moment. `copy` fills an array of some room and gives how many there are.
template <class Record>
std::vector<Record> all_records(int (*copy)(Record* out, int room)) {
  std::vector<Record> records;
  for (int count = copy(nullptr, 0); static_cast<size_t>(count) > records.size();) {
    records.resize(static_cast<size_t>(count));
    count = copy(records.data(), count);
    if (static_cast<size_t>(count) < records.size()) records.resize(static_cast<size_t>(count));
  }
  return records;
}

}  // namespace dhcp::softswitch::cli
