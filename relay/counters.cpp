/// What became of the frames.
#include <array>

#include "relay/relay.h"

namespace {

std::atomic<uint32_t> unknown_destination;

constexpr std::array<const char*, DHCPR_VERDICTS> names{
    "request routed",  "request to port", "no helper known",  "malformed", "request not sent",
    "reply to client", "reply passed on", "reply for device", "untagged",
};

}  // namespace

namespace dhcp::relay {

FrameCounts frame_counts;

void count_unknown_destination() { unknown_destination.fetch_add(1, std::memory_order_relaxed); }

}  // namespace dhcp::relay

using dhcp::relay::frame_counts;

void dhcp_relay_get_counters(DhcpRelayCounters* out) {
  for (size_t i = 0; i < DHCPR_VERDICTS; ++i) out->verdicts[i] = frame_counts.view().sum(i);
  out->unknown_destination = unknown_destination.load(std::memory_order_relaxed);
  out->transactions = static_cast<uint32_t>(dhcp::relay::shared(dhcpr_cfg.info_count).load(std::memory_order_relaxed));
}

void dhcp_relay_clear_counters() {
  frame_counts.view().clear();
  unknown_destination.store(0, std::memory_order_relaxed);
}

const char* dhcp_relay_verdict_name(DhcpRelayVerdict verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
