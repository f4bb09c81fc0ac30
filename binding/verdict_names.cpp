/// The verdicts in words.
#include <array>

#include "dhcp/binding.h"

namespace {

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

const char* dhcp_snoop_verdict_name(int verdict) {
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}
