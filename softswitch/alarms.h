/// Counts that should not grow, turned into lines of the log: each is told once a minute at most, with how much it has
/// grown since it was last told. Used by one thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace dhcp::softswitch {

class Alarms {
 public:
  static constexpr uint64_t interval_s = 60;
  /// By how much `total` has grown, when it has and may be told now. A count that has fallen was cleared.
  std::optional<uint64_t> grown(const std::string& what, uint64_t total, uint64_t now_s);

 private:
  struct Known {
    uint64_t total = 0;
    std::optional<uint64_t> told_s;
  };
  std::map<std::string, Known> known_;
};

}  // namespace dhcp::softswitch
