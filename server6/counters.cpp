#include "server6/counters.h"

#include <array>
#include <atomic>

namespace dhcp::server6 {

namespace {

constexpr size_t type_columns = 14;

/// Counted before the lock is taken, too, and read by others meanwhile.
std::array<std::array<std::atomic<uint32_t>, type_columns>, DHCP6S_VERDICTS> counts;

constexpr std::array<const char*, DHCP6S_VERDICTS> names{
    "advertised",
    "replied with an address",
    "replied without an address",
    "replied success",
    "replied not on link",
    "untagged",
    "malformed",
    "no pool",
    "bad relay message",
    "no client id",
    "other server",
    "server id against the rule",
    "no address in the ia",
    "no free address",
    "no binding",
    "address taken",
    "other message type",
    "not sent",
};

}  // namespace

void count_verdict(Dhcp6ServerVerdict verdict, uint8_t type) {
  counts[verdict][type < type_columns ? type : 0].fetch_add(1, std::memory_order_relaxed);
}

}  // namespace dhcp::server6

using namespace dhcp::server6;

void dhcp6_server_get_counters(Dhcp6ServerCounters* out) {
  for (size_t verdict = 0; verdict < counts.size(); ++verdict) {
    for (size_t type = 0; type < type_columns; ++type) out->count[verdict][type] = counts[verdict][type].load();
  }
}

void dhcp6_server_clear_counters() {
  for (auto& of_verdict : counts) {
    for (auto& count : of_verdict) count.store(0);
  }
}

const char* dhcp6_server_verdict_name(int verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
