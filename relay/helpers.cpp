/// Configuration and readout of the helper addresses.
#include "relay/helpers.h"

#include <algorithm>

#include "base/log.h"
#include "base/text.h"
#include "platform/text.h"

using namespace dhcp::relay;
using dhcp::base::HelperError;
using dhcp::base::IpText;
using dhcp::base::module_frame;

namespace {

constexpr int error_mode = -4, error_present = -3, error_full = -2;

/// Nobody holds a lock while the next hop is asked for its MAC.
int add_helper(uint32_t ip) {
  uint8_t mac[6];
  uint32_t vlan = 0;
  constexpr int timeout_s = 1;
  const bool learnt = DHCPR_get_server_mac(ip, mac, &vlan, timeout_s) == 0;
  if (learnt) {
    DHCP_LOG_IN("DHCPR_set_dhcp_serverip", module_frame, settings_log, "get manage vlan:%d\n", static_cast<int>(vlan));
  }
  DhcpServerNode now{};
  const HelperError error =
      helpers().put(ip, learnt ? mac : nullptr, vlan, [&](const DhcpServerNode& node) { now = node; });
  if (error != HelperError::none) return error == HelperError::exists ? error_present : -1;
  char text[18];
  DHCP_LOG_IN("DHCPR_set_dhcp_serverip", module_frame, settings_log,
              "ip helper-address:%s valid:%d probe:%d vlan:%d mac[%s]\n", IpText(ip).c_str(), now.valid, now.probe,
              static_cast<int>(now.vlan), onu_mac2str(now.mac, text));
  probe_back_off.reset();
  return 0;
}

}  // namespace

int DHCPR_set_dhcp_serverip(int op, uint32_t ip) {
  if (dhcpr_cfg.status.load() != DHCPR_ON_MANAGEMENT_VLAN) return error_mode;
  if (!management_vlan_mode()) {
    DHCP_LOG_AT(module_frame, settings_log, "dhcp tag mode is not manage vlan\n");
    return -1;
  }
  if (op != 1) {
    helpers().remove(ip);
    return 0;
  }
  // Ten are ten: a listed one is not brought up to date either.
  if (helpers().size() >= DHCPR_MAX_HELPERS) {
    DHCP_LOG_AT(module_frame, settings_log, " dhcp helper-address is max\n");
    return error_full;
  }
  return add_helper(ip);
}

int DHCPR_get_dhcp_server_ip(uint32_t* ips_out, int32_t* valid_out) {
  if (ips_out == nullptr || valid_out == nullptr) return -1;
  helpers().each([&](const DhcpServerNode& node, const auto&) {
    *ips_out++ = node.ip;
    *valid_out++ = node.valid;
    return true;
  });
  return 0;
}

DhcpServerNode* DHCPR_find_dhcp_serverip(uint32_t ip, int create, const uint8_t* mac, uint32_t vlan, int* err) {
  DhcpServerNode* found = nullptr;
  const auto remember = [&](DhcpServerNode& node) { found = &node; };
  *err = 0;
  if (create == 1) {
    if (helpers().put(ip, mac, vlan, remember) == HelperError::exists) *err = error_present;
    return found;
  }
  const bool listed = helpers().update(ip, [&](DhcpServerNode& node) {
    if (mac != nullptr) Helpers::set_learnt(node, mac, vlan, dhcp::base::now32());
    remember(node);
  });
  if (!listed && ip != 0) *err = error_present;
  return found;
}

void insert_DHCP_SERVER_list(DhcpListHead* head, DhcpServerNode* node) {
  dhcp::base::list_add_tail(*head, node->links);
}

DhcpServerNode* get_dhcp_server_by_ipaddr(uint32_t ip) { return helpers().find(ip); }

DhcpServerNode* get_dhcp_server_by_vlan(uint32_t vlan) {
  for (DhcpServerNode& node : dhcp::base::Records<DhcpServerNode>(dhcpr_cfg.server_list)) {
    if (node.vlan == vlan) return &node;
  }
  return nullptr;
}

size_t dhcp_relay_get_helpers(DhcpRelayHelper* out, size_t max) {
  const auto all = helpers().copies();
  const size_t count = std::min(max, all.count);
  for (size_t i = 0; i < count; ++i) {
    const auto& [node, requests, replies] = all.items[i];
    out[i] = {.ip = node.ip,
              .vlan = node.vlan,
              .mac = {},
              .valid = node.valid,
              .probe = node.probe,
              .age = node.valid == 1 ? dhcp::base::seconds_known(node.time, dhcp::base::now32()) : 0,
              .requests = requests,
              .replies = replies};
    std::copy(std::begin(node.mac), std::end(node.mac), out[i].mac);
  }
  return count;
}
