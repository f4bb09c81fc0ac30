#include "softswitch/alarms.h"

namespace dhcp::softswitch {

std::optional<uint64_t> Alarms::grown(const std::string& what, uint64_t total, uint64_t now_s) {
  Known& known = known_[what];
  if (total < known.total) known.total = 0;
  const uint64_t more = total - known.total;
  if (more == 0 || (known.told_s && now_s - *known.told_s < interval_s)) return std::nullopt;
  known.total = total;
  known.told_s = now_s;
  return more;
}

}  // namespace dhcp::softswitch
