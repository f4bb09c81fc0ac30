#include "snooping/counters.h"

#include <array>
#include <atomic>
#include <iterator>

#include "packet/options4.h"

namespace dhcp::snooping {

namespace {

constexpr int type_columns = 9;  // 0 = none of the eight types

DhcpSnoopCounters unlisted;
std::atomic<uint32_t> headerless{0};

constexpr std::array<const char*, DHCP_SNOOP_VERDICTS> names{
    "passed to relay or server",
    "forwarded",
    "vlan not snooped",
    "malformed",
    "unknown port",
    "suppressed port",
    "no message type",
    "table full",
    "source mac",
    "bad cookie",
    "server on untrusted port",
    "client option 82",
    "static client elsewhere",
    "no binding",
    "wrong port",
    "server not listed",
    "option 82 failed",
    "no address",
};

}  // namespace

void count_verdict(IntfNode* port, DhcpSnoopVerdict verdict, int type) {
  DhcpSnoopCounters& counters = port != nullptr ? port->counters : unlisted;
  ++counters.count[verdict][type < type_columns ? type : 0];
}

void count_headerless() { headerless.fetch_add(1, std::memory_order_relaxed); }

void clear_unlisted_counters() {
  unlisted = {};
  headerless.store(0, std::memory_order_relaxed);
}

}  // namespace dhcp::snooping

int snoop_count_dropped(uint32_t intf, int type) {
  using dhcp::packet::MessageType;
  SnoopIntfEntry* port = dhcp::snooping::find_interface(intf);
  if (port == nullptr) return 0;
  if (type == static_cast<int>(MessageType::ack)) ++port->dropped_ack;
  if (type == static_cast<int>(MessageType::offer)) ++port->dropped_offer;
  return 0;
}

int dhcp_snoop_get_counters(uint32_t intf, DhcpSnoopCounters* out) {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  if (intf == 0) {
    *out = unlisted;
    out->count[DHCP_SNOOP_MALFORMED][0] += headerless.load(std::memory_order_relaxed);
    return 0;
  }
  const IntfNode* port = find_interface(intf);
  if (port == nullptr) return -1;
  *out = port->counters;
  return 0;
}

const char* dhcp_snoop_verdict_name(int verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < dhcp::snooping::names.size() ? dhcp::snooping::names[index] : "unknown";
}
