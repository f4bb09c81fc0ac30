#include "server6/counters.h"

#include <array>

namespace dhcp::server6 {

namespace {

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

FrameCounts frame_counts;

}  // namespace dhcp::server6

using namespace dhcp::server6;

void dhcp6_server_get_counters(Dhcp6ServerCounters* out) {
  for (size_t verdict = 0; verdict < DHCP6S_VERDICTS; ++verdict) {
    for (size_t type = 0; type < std::size(out->count[verdict]); ++type) {
      out->count[verdict][type] = frame_counts.view().sum(verdict, type);
    }
  }
}

void dhcp6_server_clear_counters() { frame_counts.view().clear(); }

const char* dhcp6_server_verdict_name(int verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
