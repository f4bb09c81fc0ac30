/// What became of the frames.
#include <array>
#include <atomic>

#include "relay6/relay6.h"

namespace {

std::atomic<uint32_t> unknown_destination;

constexpr std::array<const char*, DHCP6_RELAY_VERDICTS> names{
    "request relayed", "request without destination", "request malformed", "request not built", "reply to client",
    "reply to relay",  "reply for unknown peer",      "reply malformed",   "reply not built",   "ignored",
    "untagged",
};

}  // namespace

namespace dhcp::relay6 {

FrameCounts frame_counts;

void count_unknown_destination() { unknown_destination.fetch_add(1, std::memory_order_relaxed); }

}  // namespace dhcp::relay6

using dhcp::relay6::frame_counts;

void dhcp6_relay_get_counters(Dhcp6RelayCounters* out) {
  for (size_t i = 0; i < DHCP6_RELAY_VERDICTS; ++i) out->verdicts[i] = frame_counts.view().sum(i);
  out->unknown_destination = unknown_destination;
  out->clients = static_cast<uint32_t>(gDhcp6Relay.info_count.load());
}

void dhcp6_relay_clear_counters() {
  frame_counts.view().clear();
  unknown_destination = 0;
}

const char* dhcp6_relay_verdict_name(Dhcp6RelayVerdict verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
