/// How a helper's next hop is found, and the rounds that learn and refresh the helpers' MACs.
#include <cstdio>

#include "base/log.h"
#include "base/next_hop.h"
#include "base/text.h"
#include "dhcp/arp.h"
#include "platform/text.h"
#include "relay/helpers.h"

using dhcp::base::Hop;
using dhcp::base::IpText;
using dhcp::base::module_frame;
using namespace dhcp::relay;

namespace dhcp::relay {

base::ProbeBackOff probe_back_off;

namespace {

constexpr int query_timeout_s = 1;

int learn(const DhcpServerNode& helper, uint8_t* mac, uint32_t& vlan) {
  return DHCPR_get_server_mac(helper.ip, mac, &vlan, query_timeout_s);
}

}  // namespace

}  // namespace dhcp::relay

int DHCPR_get_server_mac(uint32_t ip, uint8_t mac_out[6], uint32_t* vlan_out, int timeout_s) {
  const char* caller = __func__;
  uint32_t next_hop = ip;
  const auto judge = [&](const sysmng_vlan_info& info) {
    if (info.ip == 0 && info.mask == 0) {
      DHCP_LOG_IN(caller, module_frame, settings_log, "vlan ip addr is invalid\n");
      return Hop::dead_end;
    }
    if ((info.ip & info.mask) == (info.mask & ip)) return Hop::here;
    if (info.gateway == 0) {
      DHCP_LOG_IN(caller, module_frame, settings_log, "Different network segments not set gateway");
      return Hop::elsewhere;
    }
    next_hop = info.gateway;  // the first gateway wins over a VLAN further down that would fit
    return Hop::here;
  };
  constexpr int no_way = -2;
  const uint32_t vlan = dhcp::base::find_hop_vlan(judge);
  if (vlan == 0) return no_way;
  char ifname[DHCP_ARP_IFNAME_SIZE];
  snprintf(ifname, sizeof ifname, "%s.%d", "eth0", static_cast<int>(vlan));
  DHCP_LOG_AT(module_frame, settings_log, "Probe device name:%s", ifname);
  if (vlan_out != nullptr) *vlan_out = vlan;
  return get_ip_mac(ifname, next_hop, mac_out, timeout_s);
}

int is_need_dhcp_server_probe() {
  int needed = 0;
  helpers().each([&](const DhcpServerNode& node, const auto&) {
    needed = node.probe == 1 && node.ip != 0 ? 1 : 0;
    return needed == 0;
  });
  return needed;
}

void dhcp_server_node_timeout_check() {
  const char* caller = __func__;
  uint32_t ageing_s = 0;
  get_mac_aging_time(&ageing_s);
  auto table = helpers();
  dhcp::base::relearn_aged(table, ageing_s, learn, [caller](const DhcpServerNode& node) {
    char mac[18];
    DHCP_LOG_IN(caller, module_frame, settings_log, "timeout check get MAC:%s valid:%d probe:%d vlan:%d mac[%s]\n",
                IpText(node.ip).c_str(), node.valid, node.probe, static_cast<int>(node.vlan),
                onu_mac2str(node.mac, mac));
  });
}

int dhcpr_dhcp_server_mac_probe() {
  const char* caller = __func__;
  dhcp_server_node_timeout_check();
  const auto started = [caller](const DhcpServerNode& node) {
    DHCP_LOG_IN(caller, module_frame, settings_log, "ip helper-address:%s valid:%d probe:%d vlan:%d start mac probe\n",
                IpText(node.ip).c_str(), node.valid, node.probe, static_cast<int>(node.vlan));
  };
  const auto learnt = [caller](const DhcpServerNode& node) {
    char mac[18];
    DHCP_LOG_IN(caller, module_frame, settings_log, "ip helper-address get MAC:%s valid:%d probe:%d vlan:%d mac[%s]\n",
                IpText(node.ip).c_str(), node.valid, node.probe, static_cast<int>(node.vlan),
                onu_mac2str(node.mac, mac));
  };
  auto table = helpers();
  dhcp::base::probe_round(table, probe_back_off, started, learn, learnt);
  return 0;
}
