/// The records as values: what displays and programs read instead of the lists themselves.
#include "server6/bindings.h"

using namespace dhcp::server6;

namespace {

/// Copies the first `room` records without their links. How many there are.
template <class Record>
int copy_records(const DhcpListHead& head, Record* out, int room) {
  int count = 0;
  for (const Record& record : dhcp::base::Records<Record>(head)) {
    if (count < room) {
      out[count] = record;
      out[count].link = {};
    }
    ++count;
  }
  return count;
}

}  // namespace

int dhcp6_server_get_pools(Dhcp6Pool* out, int room) {
  const PoolsLock lock;
  return copy_records(dhcp6s_cfg.pools.head, out, room);
}

int dhcp6_server_get_bindings(Dhcp6Binding* out, int room) {
  const PoolsLock lock;
  const dhcp::base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  return copy_records(dhcp6s_cfg.bindings.head, out, room);
}

int dhcp6_server_get_conflicts(Dhcp6ConflictIp* out, int room) {
  const PoolsLock lock;
  const dhcp::base::BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  return copy_records(dhcp6s_cfg.conflicts.head, out, room);
}
