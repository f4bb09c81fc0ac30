/// What became of the frames.
#include <array>
#include <atomic>

#include "relay6/relay6.h"

namespace {

std::array<std::atomic<uint32_t>, DHCP6_RELAY_VERDICTS> verdicts;
std::atomic<uint32_t> unknown_destination;

constexpr std::array<const char*, DHCP6_RELAY_VERDICTS> names{
    "request relayed", "request without destination", "request malformed", "request not built", "reply to client",
    "reply to relay",  "reply for unknown peer",      "reply malformed",   "reply not built",   "ignored",
    "untagged",
};

}  // namespace

namespace dhcp::relay6 {

void count_verdict(Dhcp6RelayVerdict verdict) { verdicts[verdict].fetch_add(1, std::memory_order_relaxed); }
void count_unknown_destination() { unknown_destination.fetch_add(1, std::memory_order_relaxed); }

}  // namespace dhcp::relay6

void dhcp6_relay_get_counters(Dhcp6RelayCounters* out) {
  std::copy(verdicts.begin(), verdicts.end(), out->verdicts);
  out->unknown_destination = unknown_destination;
  out->clients = static_cast<uint32_t>(gDhcp6Relay.info_count.load());
}

void dhcp6_relay_clear_counters() {
  for (auto& count : verdicts) count = 0;
  unknown_destination = 0;
}

const char* dhcp6_relay_verdict_name(Dhcp6RelayVerdict verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
