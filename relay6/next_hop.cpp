/// By which VLAN a destination is reached, and whose MAC leads there.
#include "base/next_hop.h"

#include "base/own_ip6.h"
#include "relay6/relay6.h"

namespace dhcp::relay6 {

namespace {

using base::Hop;

/// What the interface says about `target`; where it leads on, `next_hop` is whom to ask for a MAC.
Hop judge(const sysmng_vlan_info& interface, const Ip6& target, Ip6& next_hop) {
  const auto own = base::parse_ip6(interface.ip6);
  if (!own) return Hop::elsewhere;
  if (own->is_zero() && interface.prefix6 == 0) {
    DHCP_LOG_AT(base::module_frame, log_name, "vlan ip addr is invalid\n");
    return Hop::dead_end;
  }
  if (target.in_prefix(*own, interface.prefix6)) {
    next_hop = target;
    return Hop::here;
  }
  if (const auto gateway = base::parse_ip6(interface.gateway6); gateway && !gateway->is_zero()) {
    next_hop = *gateway;
    return Hop::here;
  }
  DHCP_LOG_AT(base::module_frame, log_name, "Different network segments not set gateway");
  return Hop::elsewhere;
}

}  // namespace

}  // namespace dhcp::relay6

int dhcp6_relay_get_server_mac(const uint8_t ip6[16], uint8_t mac_out[6], uint32_t* vlan_out, int seconds) {
  using namespace dhcp;
  constexpr int no_way = -2;
  const base::Ip6 target = base::Ip6::from(ip6);
  base::Ip6 next_hop;
  const uint32_t vlan =
      base::find_hop_vlan([&](const sysmng_vlan_info& info) { return relay6::judge(info, target, next_hop); });
  if (vlan == 0) return no_way;
  char device[DHCP6_RELAY_IFNAME_SIZE + sizeof ".4294967295"];
  snprintf(device, sizeof device, "%s.%d", gDhcp6Relay.ifname, static_cast<int>(vlan));
  DHCP_LOG_AT(base::module_frame, relay6::log_name, "Probe device name:%s", device);
  if (vlan_out != nullptr) *vlan_out = vlan;
  return get_ip6_mac(device, next_hop.bytes.data(), mac_out, seconds);
}
