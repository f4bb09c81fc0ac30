/// The relay's configuration: what each call answers, and what outlives the relay.
#include "dhcp/server.h"
#include "dhcp/trap.h"
#include "tests/unit/relay_bench.h"

namespace {

using bench::device;
using bench::ip;

class RelayConfig : public bench::RelayBench {
 protected:
  static std::vector<std::pair<uint32_t, int>> listed() {
    uint32_t ips[DHCPR_MAX_HELPERS] = {};
    int32_t valid[DHCPR_MAX_HELPERS] = {};
    EXPECT_EQ(DHCPR_get_dhcp_server_ip(ips, valid), 0);
    std::vector<std::pair<uint32_t, int>> all;
    for (int i = 0; i < dhcpr_cfg.server_count; ++i) all.emplace_back(ips[i], valid[i]);
    return all;
  }
};

TEST_F(RelayConfig, TagModesAreCheckedAndPassedOverInManagementVlanMode) {
  device().missing_vlans = {31};
  const struct {
    int tag, vlan, result, tag_after, vlan_after;
  } rows[] = {
      {2, 30, 0, 2, 30},    {2, 31, -90, 2, 30}, {3, 30, -84, 2, 30},
      {-1, 30, -84, 2, 30}, {1, 30, 0, 1, 0},    {0, 30, 0, 0, 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(DHCPR_set_route_vlan(row.tag, row.vlan), row.result);
    int tag = -1, vlan = -1;
    EXPECT_EQ(DHCPR_get_route_vlan(&tag, &vlan), 0);
    EXPECT_EQ(std::pair(tag, vlan), std::pair(row.tag_after, row.vlan_after)) << row.tag << " " << row.vlan;
  }
  int tag = -1, vlan = -1, out = -1;
  EXPECT_EQ(DHCPR_get_route_vlan(&tag, nullptr), -1);
  EXPECT_EQ(DHCPR_get_route_vlan(nullptr, &vlan), -1);
  DHCPR_set_route_vlan(2, 30);
  EXPECT_EQ(DHCPR_start(2), 0);
  EXPECT_EQ(DHCPR_set_route_vlan(7, 31), 0);
  EXPECT_EQ(DHCPR_set_route_port(9), 0);
  DHCPR_get_route_vlan(&tag, &vlan);
  EXPECT_EQ(std::pair(tag, vlan), std::pair(1, 0));
  EXPECT_EQ(DHCPR_get_route_port(&out), 0);
  EXPECT_EQ(out, 24);
  DHCPR_stop();
  EXPECT_EQ(dhcpr_cfg.tag_mode, 1) << "the mode outlives the switch";
}

TEST_F(RelayConfig, ModesChangeEachOtherAndTheServerKeepsItsRules) {
  init_DHCPS_cfg();
  EXPECT_EQ(DHCPR_start(1), 0);
  EXPECT_EQ(DHCPR_start(2), 0) << "from one mode to the other";
  EXPECT_EQ(DHCPR_start(0), 0);
  EXPECT_TRUE(device().rules().empty()) << "no mode is off";
  EXPECT_EQ(dhcp_server_start_stop(1), 0);
  EXPECT_EQ(DHCPR_start(1), -1);
  EXPECT_EQ(DHCPR_stop(), 0);
  EXPECT_EQ(device().rules().size(), 2u) << "the server lives on them";
  dhcp_server_start_stop(0);
  close_dhcp_cpu();
}

TEST_F(RelayConfig, HelperAddressesAnswerByTheRules) {
  const uint32_t silent = ip(10, 20, 0, 100);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -4) << "off";
  DHCPR_start(1);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, server_ip), -4);
  DHCPR_start(2);
  dhcpr_cfg.tag_mode = 0;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -1);
  dhcpr_cfg.tag_mode = 1;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), -3) << "nothing new is known";
  device().arp_hosts[silent] = other_mac;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), 0) << "brought up to date";
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, server_ip), 0) << "was not there";
  for (uint32_t n = 1; n < 10; ++n) EXPECT_EQ(DHCPR_set_dhcp_serverip(1, ip(192, 0, 2, n)), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), -2) << "ten are ten, for an update too";
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, ip(192, 0, 2, 4)), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), 0);
  EXPECT_EQ(listed().front(), std::pair(silent, 1)) << "oldest first";
  EXPECT_EQ(listed().back(), std::pair(server_ip, 1));
  EXPECT_EQ(DHCPR_get_dhcp_server_ip(nullptr, nullptr), -1);
  DHCPR_set_dhcp_serverip(0, server_ip);
  fake::fail_allocations(1);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -1);
}

TEST_F(RelayConfig, FindTellsWhatIsThereAndWhatIsNot) {
  int err = 7;
  EXPECT_EQ(DHCPR_find_dhcp_serverip(server_ip, 0, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, -3);
  EXPECT_EQ(DHCPR_find_dhcp_serverip(0, 0, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, 0) << "no address, no error";
  const DhcpServerNode* made = DHCPR_find_dhcp_serverip(server_ip, 1, nullptr, 0, &err);
  EXPECT_EQ(DHCPR_find_dhcp_serverip(server_ip, 1, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, -3) << "listed, and nothing new is known";
  at(5);
  ASSERT_EQ(DHCPR_find_dhcp_serverip(server_ip, 0, server_mac.data(), 20, &err), made);
  EXPECT_TRUE(made->valid == 1 && made->time == start + 5);
}

TEST_F(RelayConfig, HelpersOutliveTheRelayAndGoWithANewStart) {
  start_routing();
  receive(discover());
  exit_DHCPR_cfg();
  EXPECT_EQ(dhcpr_cfg.status + dhcpr_cfg.info_count, 0);
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(listed().size(), 1u);
  init_DHCPR_cfg();
  EXPECT_EQ(listed().size(), 0u);
  EXPECT_EQ(dhcpr_cfg.tag_mode, 1) << "switches are not what a run has gathered";
}

TEST_F(RelayConfig, SocketOnAPortThatIsTakenIsClosedAgain) {
  device().bind_error = EADDRINUSE;
  EXPECT_EQ(DHCPR_socket(), -1);
  EXPECT_EQ(device().logged_at("dhcpr: socket bind failed! Address already in use \r\n", "dhcp_relay"), 1);
}

}  // namespace
