/// The helper addresses: the record's list through the table that both families share.
#pragma once

#include "base/helper_table.h"
#include "relay/relay.h"

namespace dhcp::relay {

struct HelperRule {
  using Node = DhcpServerNode;
  using Address = uint32_t;
  static constexpr int32_t limit = DHCPR_MAX_HELPERS;
  static Address address(const Node& node) { return node.ip; }
  static void set_address(Node& node, Address ip) { node.ip = ip; }
  /// A helper whose next hop has fallen silent is asked for again in the probe rounds.
  static void lost(Node& node) {
    node.valid = 0;
    node.probe = 1;
    std::fill(std::begin(node.mac), std::end(node.mac), uint8_t{0});
  }
};

using Helpers = base::HelperTable<HelperRule>;

inline Helpers helpers() { return {dhcpr_cfg.server_list, dhcpr_cfg.server_count, dhcpr_cfg.server_busy}; }

extern base::ProbeBackOff probe_back_off;

}  // namespace dhcp::relay
