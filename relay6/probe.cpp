/// Rounds of the "dhcp_probe" task: aged MACs are asked for anew, unknown ones probed.
#include "platform/sysmng.h"
#include "relay6/relay6.h"

namespace dhcp::relay6 {

namespace {

constexpr int answer_wait_s = 3;

base::ProbeBackOff back_off;

int learn(const Dhcp6ServerNode& node, uint8_t* mac, uint32_t& vlan) {
  return dhcp6_relay_get_server_mac(node.ip6, mac, &vlan, answer_wait_s);
}

}  // namespace

void restart_probing() { back_off.reset(); }

}  // namespace dhcp::relay6

using namespace dhcp::relay6;

int is_need_dhcp6_server_probe() {
  const auto waiting = destinations().copies(dhcp::base::waits_for_probe<DestinationRule>);
  return waiting.count != 0 ? 1 : 0;
}

int dhcp6_relay_dhcp_server_mac_probe() {
  constexpr auto nothing = [](const Dhcp6ServerNode&) {};
  Destinations table = destinations();
  uint32_t ageing_s = 0;
  get_mac_aging_time(&ageing_s);
  dhcp::base::relearn_aged(table, ageing_s, learn, nothing);
  dhcp::base::probe_round(table, back_off, nothing, learn, nothing);
  return 0;
}
