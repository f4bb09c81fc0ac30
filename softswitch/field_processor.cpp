#include "softswitch/field_processor.h"

#include <algorithm>
#include <cstring>

namespace dhcp::softswitch {
namespace {

constexpr int qualifier_ports = 13, qualifier_udp_port = 28;
constexpr int action_queue = 2, action_redirect = 30, action_drop = 40;

bool read_actions(const adp_fp_entity& entity, ChipRule& rule) {
  for (int i = 0; i < entity.actions; ++i) {
    const auto& action = entity.action[i];
    switch (action.code) {
      case action_queue: rule.queue = action.value; break;
      case action_redirect: rule.redirect = true; break;
      case action_drop: rule.drop = true; break;
      default: return false;
    }
  }
  return rule.drop || rule.redirect;
}

bool read_qualifiers(const adp_fp_entity& entity, ChipRule& rule) {
  for (int i = 0; i < entity.qualifiers; ++i) {
    const auto& qualify = entity.qualify[i];
    if (qualify.code == qualifier_ports && qualify.len % 4 == 0 && qualify.len <= 32) {
      std::memcpy(rule.ports.emplace().data(), qualify.data, static_cast<size_t>(qualify.len));
    } else if (qualify.code == qualifier_udp_port && qualify.len == 2) {
      auto& port = rule.udp_port.emplace();
      std::memcpy(&port[0], qualify.data, 2);
      std::memcpy(&port[1], qualify.mask, 2);
    } else {
      return false;
    }
  }
  return true;
}

bool before(const ChipRule& a, const ChipRule& b) { return a.group != b.group ? a.group < b.group : a.rule > b.rule; }

}  // namespace

bool ChipRule::matches(uint32_t port, uint16_t udp_to) const {
  if (ports && (port / 32 >= ports->size() || ((*ports)[port / 32] >> port % 32 & 1) == 0)) return false;
  if (!udp_port) return true;
  return udp_to != 0 && ((udp_to ^ (*udp_port)[0]) & (*udp_port)[1]) == 0;
}

bool FieldProcessor::install(uint32_t group, uint32_t rule, const adp_fp_entity& entity) {
  ChipRule made;
  made.group = group;
  made.rule = rule;
  if (!read_actions(entity, made) || !read_qualifiers(entity, made)) return false;
  remove(group, rule);
  rules_.insert(std::upper_bound(rules_.begin(), rules_.end(), made, before), made);
  return true;
}

bool FieldProcessor::remove(uint32_t group, uint32_t rule) {
  return std::erase_if(rules_, [=](const ChipRule& r) { return r.group == group && r.rule == rule; }) != 0;
}

uint64_t FieldProcessor::hits(uint32_t group, uint32_t rule) const {
  const auto found =
      std::find_if(rules_.begin(), rules_.end(), [=](const ChipRule& r) { return r.group == group && r.rule == rule; });
  return found == rules_.end() ? 0 : found->hits;
}

Verdict FieldProcessor::match(uint32_t port, uint16_t udp_to) const {
  Verdict verdict;
  bool decided = false;  // inside the group in hand
  for (size_t i = 0; i < rules_.size(); ++i) {
    const ChipRule& rule = rules_[i];
    if (i == 0 || rules_[i - 1].group != rule.group) decided = false;
    if (decided || !rule.matches(port, udp_to)) continue;
    decided = true;
    if (rule.drop) return {Verdict::Way::drop, 0, i};
    if (verdict.way == Verdict::Way::forward) verdict = {Verdict::Way::redirect, rule.queue, i};
  }
  return verdict;
}

}  // namespace dhcp::softswitch
