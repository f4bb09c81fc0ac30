#include "snooping/counters.h"

#include "packet/options4.h"

namespace dhcp::snooping {

binding::FrameCounts<DhcpSnoopCounters> frame_counts;

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
  return frame_counts.copy(interfaces, intf, *out);
}

int dhcp_snooping_statistics_clear(uint32_t intf) {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  frame_counts.clear(interfaces, intf);
  return 0;
}
