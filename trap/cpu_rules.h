/// The two rules of one family that bring its client and server ports to the CPU, and whether they are there.
#pragma once

#include <atomic>
#include <cstdint>

#include "trap/field_rule.h"

namespace dhcp::trap {

class CpuRules {
 public:
  /// UDP destinations: rule 1 of the group is the client's, rule 0 the server's.
  constexpr CpuRules(uint32_t group, uint16_t client_port, uint16_t server_port)
      : group_(group), client_port_(client_port), server_port_(server_port) {}

  /// Both are harmless when there is nothing to do. 0, or -1 when the chip refuses.
  int open() {
    if (installed_.exchange(true)) return 0;
    const int result = install(all_ports);
    if (result != 0) installed_.store(false);
    return result;
  }
  int close() {
    if (installed_.exchange(false)) remove();
    return 0;
  }
  bool installed() const { return installed_.load(); }

  /// Both rules for these ingress ports; neither stays when one is refused.
  int install(PortMap ports) const;

 private:
  static constexpr uint32_t client_rule = 1, server_rule = 0;

  void remove() const;

  uint32_t group_;
  uint16_t client_port_, server_port_;
  std::atomic<bool> installed_{false};
};

}  // namespace dhcp::trap
