#include "server/counters.h"

#include <array>

namespace dhcp::server {

namespace {

constexpr std::array<const char*, DHCPS_VERDICTS> names{
    "offered",         "acknowledged",       "refused",      "released",         "declined",
    "malformed",       "untagged",           "no pool",      "no message type",  "other server",
    "no free address", "table full",         "no server id", "no address named", "address not leasable",
    "unknown client",  "other message type", "not sent",
};

}  // namespace

FrameCounts frame_counts;

}  // namespace dhcp::server

const char* dhcp_server_verdict_name(int verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < dhcp::server::names.size() ? dhcp::server::names[index] : "unknown";
}
