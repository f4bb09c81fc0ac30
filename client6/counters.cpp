#include "client6/counters.h"

#include <array>
#include <atomic>

namespace dhcp::client6 {

namespace {

constexpr size_t message_types = 9;

/// What was sent. Several threads count, and any may read.
struct Counters {
  std::array<std::atomic<uint32_t>, message_types> sent{};
  std::atomic<uint32_t> not_sent{0};
};

Counters counters;

constexpr std::array<const char*, DHCP6C_VERDICTS> names{
    "advertise taken", "reply taken",    "not awaited", "refused by the server",
    "not for us",      "option missing", "other type",  "no interface",
    "malformed",       "no memory"};

}  // namespace

FrameCounts frame_counts;

void count_sent(packet::MessageType6 type) { ++counters.sent[static_cast<size_t>(type)]; }
void count_not_sent() { ++counters.not_sent; }

}  // namespace dhcp::client6

using dhcp::client6::counters;
using dhcp::client6::frame_counts;

void dhcp6c_get_counters(Dhcp6cCounters* out) {
  for (size_t i = 0; i < DHCP6C_VERDICTS; ++i) out->received[i] = frame_counts.view().sum(i);
  for (size_t i = 0; i < counters.sent.size(); ++i) out->sent[i] = counters.sent[i];
  out->not_sent = counters.not_sent;
}

void dhcp6c_clear_counters() {
  frame_counts.view().clear();
  for (auto& count : counters.sent) count = 0;
  counters.not_sent = 0;
}

const char* dhcp6c_verdict_name(Dhcp6cVerdict verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < dhcp::client6::names.size() ? dhcp::client6::names[index] : "unknown";
}
