#include "snooping/counters.h"

#include "packet/options4.h"

namespace dhcp::snooping {

FrameCounts frame_counts;

}  // namespace dhcp::snooping

int snoop_count_dropped(uint32_t intf, int type) {
  using dhcp::packet::MessageType;
  SnoopIntfEntry* port = dhcp::snooping::interfaces.find(intf);
  if (port == nullptr) return 0;
  if (type == static_cast<int>(MessageType::ack)) ++port->dropped_ack;
  if (type == static_cast<int>(MessageType::offer)) ++port->dropped_offer;
  return 0;
}

int dhcp_snoop_get_counters(uint32_t intf, DhcpSnoopCounters* out) {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  return dhcp::binding::copy_counts(frame_counts.view(), interfaces, intf, out->count);
}

int dhcp_snooping_statistics_clear(uint32_t intf) {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  dhcp::binding::clear_counts(frame_counts.view(), interfaces, intf);
  return 0;
}
