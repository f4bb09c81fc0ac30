/// The chip's field processor: which frames are taken out of the ordinary path, and where to.
///
/// Rules live in groups. Inside a group the rule with the highest number that matches decides; among groups a drop
/// outranks a redirection. The rules are few (a handful per service), so matching is a walk. Guarded by the fabric's
/// lock.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/adp.h"

namespace dhcp::softswitch {

struct ChipRule {
  uint32_t group = 0, rule = 0;
  bool drop = false, redirect = false;
  uint32_t queue = 0;                               // CPU queue of a redirection
  std::optional<std::array<uint32_t, 8>> ports;     // bit n % 32 of word n / 32 = port n; none = any port
  std::optional<std::array<uint16_t, 2>> udp_port;  // value and mask; none = any frame
  uint64_t hits = 0;

  bool matches(uint32_t port, uint16_t udp_to) const;
};

struct Verdict {
  enum class Way { forward, redirect, drop } way = Way::forward;
  uint32_t queue = 0;
  size_t rule = 0;  // which of the rules decided; of no meaning for `forward`
};

class FieldProcessor {
 public:
  /// False when the rule asks for what this chip does not know, or does nothing at all; nothing is changed then.
  bool install(uint32_t group, uint32_t rule, const adp_fp_entity& entity);
  bool remove(uint32_t group, uint32_t rule);
  Verdict match(uint32_t port, uint16_t udp_to) const;
  void count(const Verdict& verdict) { ++rules_[verdict.rule].hits; }
  uint64_t hits(uint32_t group, uint32_t rule) const;  // 0 = there is no such rule
  const std::vector<ChipRule>& rules() const { return rules_; }

 private:
  std::vector<ChipRule> rules_;  // by group ascending, then rule number descending
};

}  // namespace dhcp::softswitch
