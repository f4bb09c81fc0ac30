#include "trap/field_rule.h"

#include <array>

#include "platform/adp.h"

namespace dhcp::trap {

namespace {

constexpr int qualify_in_ports = 13, qualify_udp_destination = 28;
constexpr int action_to_cpu = 30, action_cpu_queue = 2, action_drop = 40;
constexpr uint32_t cpu_queue = 2;

bool add_actions(adp_fp_entity& entity, Treatment treatment) {
  if (treatment == Treatment::drop) return adp_fp_add_entity_action(&entity, action_drop, 0) >= 0;
  return adp_fp_add_entity_action(&entity, action_to_cpu, 0) >= 0 &&
         adp_fp_add_entity_action(&entity, action_cpu_queue, cpu_queue) >= 0;
}

bool add_qualifiers(adp_fp_entity& entity, uint16_t udp_port, PortMap ports) {
  constexpr std::array<uint32_t, 8> whole_map{0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff,
                                              0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff};
  constexpr uint16_t whole_port = 0xffff;
  const std::array<uint32_t, 8> map{ports.lo, ports.hi};
  return adp_fp_add_entity_qualify(&entity, qualify_in_ports, map.data(), whole_map.data(),
                                   static_cast<int>(sizeof map)) >= 0 &&
         adp_fp_add_entity_qualify(&entity, qualify_udp_destination, &udp_port, &whole_port,
                                   static_cast<int>(sizeof udp_port)) >= 0;
}

}  // namespace

int install_rule(uint32_t group, uint32_t rule, uint16_t udp_port, PortMap ports, Treatment treatment) {
  adp_fp_entity entity{};
  const bool built = add_actions(entity, treatment) && add_qualifiers(entity, udp_port, ports);
  return built && adp_fp_add_entity_rule(group, rule, &entity) >= 0 ? 0 : -1;
}

}  // namespace dhcp::trap
