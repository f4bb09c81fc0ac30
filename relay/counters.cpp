/// What became of the frames.
#include <array>

#include "relay/relay.h"

namespace {

std::array<std::atomic<uint32_t>, DHCPR_VERDICTS> verdicts;
std::atomic<uint32_t> unknown_destination;

constexpr std::array<const char*, DHCPR_VERDICTS> names{
    "request routed",  "request to port", "no helper known",  "malformed", "request not sent",
    "reply to client", "reply passed on", "reply for device", "untagged",
};

}  // namespace

namespace dhcp::relay {

void count_verdict(DhcpRelayVerdict verdict) { verdicts[verdict].fetch_add(1, std::memory_order_relaxed); }
void count_unknown_destination() { unknown_destination.fetch_add(1, std::memory_order_relaxed); }

}  // namespace dhcp::relay

void dhcp_relay_get_counters(DhcpRelayCounters* out) {
  for (size_t i = 0; i < verdicts.size(); ++i) out->verdicts[i] = verdicts[i].load(std::memory_order_relaxed);
  out->unknown_destination = unknown_destination.load(std::memory_order_relaxed);
  out->transactions = static_cast<uint32_t>(dhcp::relay::shared(dhcpr_cfg.info_count).load(std::memory_order_relaxed));
}

void dhcp_relay_clear_counters() {
  for (auto& count : verdicts) count.store(0, std::memory_order_relaxed);
  unknown_destination.store(0, std::memory_order_relaxed);
}

const char* dhcp_relay_verdict_name(DhcpRelayVerdict verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
