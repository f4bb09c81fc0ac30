/// The relay's configuration: what each call answers, the chip rules, display and save.
#include "dhcp/server.h"
#include "dhcp/snooping.h"
#include "dhcp/trap.h"
#include "tests/unit/relay_bench.h"

namespace {

using bench::device;
using bench::ip;
using testing::ElementsAre;
using testing::EndsWith;

class RelayConfig : public bench::RelayBench {
 protected:
  static std::string text_of(void (*write)(FILE*)) {
    char* text = nullptr;
    size_t size = 0;
    FILE* file = open_memstream(&text, &size);
    write(file);
    fclose(file);
    const std::string result(text, size);
    free(text);
    return result;
  }
  static std::string saved() {
    return text_of([](FILE* file) { onu_dhcp_relay_save(file); });
  }
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
  int value = 0;
  EXPECT_EQ(DHCPR_get_route_vlan(&value, nullptr), -1);
  EXPECT_EQ(DHCPR_get_route_vlan(nullptr, &value), -1);
  EXPECT_EQ(DHCPR_set_route_vlan(2, 30), 0);
  EXPECT_EQ(DHCPR_start(2), 0);
  EXPECT_EQ(DHCPR_set_route_vlan(7, 31), 0);
  EXPECT_EQ(DHCPR_set_route_port(9), 0);
  int tag = -1, vlan = -1, out = -1;
  DHCPR_get_route_vlan(&tag, &vlan);
  EXPECT_EQ(std::pair(tag, vlan), std::pair(1, 0));
  EXPECT_EQ(DHCPR_get_route_port(&out), 0);
  EXPECT_EQ(out, 24);
  DHCPR_stop();
  EXPECT_EQ(dhcpr_cfg.tag_mode, 1) << "the mode outlives the switch";
  EXPECT_EQ(device().logged_at("dhcpr set route vlan, tag 7 vlan 31\r\n", "dhcpc"), 1);
}

TEST_F(RelayConfig, RelayAndServerExcludeEachOtherAndShareTheChipRules) {
  init_DHCPS_cfg();
  EXPECT_EQ(DHCPR_start(1), 0);
  EXPECT_EQ(device().rules().size(), 2u);
  EXPECT_EQ(dhcp_server_start_stop(1), -1);
  EXPECT_EQ(DHCPR_start(2), 0) << "from one mode to the other";
  EXPECT_EQ(DHCPR_start(0), 0);
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(dhcp_server_start_stop(1), 0);
  EXPECT_EQ(DHCPR_start(1), -1);
  int status = -1;
  EXPECT_EQ(DHCPR_get_sts(&status), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(DHCPR_stop(), 0);
  EXPECT_EQ(device().rules().size(), 2u) << "the server lives on them";
  dhcp_server_start_stop(0);
  init_dhcp_snooping();
  set_dhcp_snoop_switch(1);
  DHCPR_start(1);
  set_dhcp_snoop_switch(0);
  EXPECT_EQ(device().rules().size(), 2u) << "the relay lives on them";
  set_dhcp_snoop_switch(1);
  DHCPR_stop();
  EXPECT_EQ(device().rules().size(), 2u) << "snooping lives on them";
  exit_dhcp_snooping();
  close_dhcp_cpu();
  init_DHCPS_cfg();
}

TEST_F(RelayConfig, HelperAddressesAnswerByTheRules) {
  const uint32_t silent = ip(10, 20, 0, 100);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -4) << "off";
  DHCPR_start(1);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, server_ip), -4);
  DHCPR_start(2);
  dhcpr_cfg.tag_mode = 0;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -1);
  EXPECT_EQ(device().logged_at("dhcp tag mode is not manage vlan\n", "dhcpc"), 1);
  dhcpr_cfg.tag_mode = 1;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), -3) << "nothing new is known";
  device().arp_hosts[silent] = other_mac;
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), 0) << "brought up to date";
  EXPECT_EQ(device().logged_at("ip helper-address:10.20.0.100 valid:1 probe:0 vlan:20 mac[02:bb:00:00:00:06]\n"), 1);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, server_ip), 0) << "was not there";
  for (uint32_t n = 1; n < 10; ++n) EXPECT_EQ(DHCPR_set_dhcp_serverip(1, ip(192, 0, 2, n)), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, silent), -2) << "ten are ten, for an update too";
  EXPECT_EQ(device().logged_at(" dhcp helper-address is max\n", "dhcpc"), 1);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(0, ip(192, 0, 2, 4)), 0);
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), 0);
  const auto all = listed();
  ASSERT_EQ(all.size(), 10u);
  EXPECT_EQ(all.front(), std::pair(silent, 1)) << "oldest first";
  EXPECT_EQ(all.back(), std::pair(server_ip, 1));
  EXPECT_EQ(all[4], std::pair(ip(192, 0, 2, 5), 0));
  EXPECT_EQ(DHCPR_get_dhcp_server_ip(nullptr, nullptr), -1);
  DHCPR_set_dhcp_serverip(0, server_ip);
  fake::fail_allocations(1, 1);  // the first is the device's VLAN list
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), -1);
}

TEST_F(RelayConfig, FindTellsWhatIsThereAndWhatIsNot) {
  int err = 7;
  EXPECT_EQ(DHCPR_find_dhcp_serverip(server_ip, 0, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, -3);
  EXPECT_EQ(DHCPR_find_dhcp_serverip(0, 0, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, 0) << "no address, no error";
  const DhcpServerNode* made = DHCPR_find_dhcp_serverip(server_ip, 1, nullptr, 0, &err);
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->valid == 0 && made->probe == 1);
  EXPECT_EQ(DHCPR_find_dhcp_serverip(server_ip, 1, nullptr, 0, &err), nullptr);
  EXPECT_EQ(err, -3);
  at(5);
  EXPECT_EQ(DHCPR_find_dhcp_serverip(server_ip, 0, server_mac.data(), 20, &err), made);
  EXPECT_EQ(made->time, start + 5);
  EXPECT_EQ(made->valid, 1);
  EXPECT_EQ(get_dhcp_server_by_ipaddr(server_ip), made);
  EXPECT_EQ(get_dhcp_server_by_vlan(20), made);
  EXPECT_EQ(get_dhcp_server_by_vlan(21), nullptr);
}

TEST_F(RelayConfig, DisplayAndSavedLines) {
  EXPECT_EQ(saved(), "");
  DHCPR_set_trust(0);
  DHCPR_set_dhcp_option82_switch(0);
  DHCPR_set_route_port(7);
  DHCPR_set_route_vlan(2, 30);
  DHCPR_start(1);
  const std::string switches = "no ip dhcp relay information trust\r\nno ip dhcp relay information option\r\n";
  EXPECT_EQ(saved(),
            "service dhcp-relay\r\n" + switches + "ip dhcp relay route-port 7\r\nip dhcp relay route-vlan 2 30\r\n");
  DHCPR_start(2);
  DHCPR_set_dhcp_serverip(1, server_ip);
  DHCPR_set_dhcp_serverip(1, other_server);
  EXPECT_EQ(saved(), "ip dhcp relay route-port 7\r\nservice dhcp-relay management-vlan\r\n" + switches +
                         "ip helper-address 10.20.0.5\r\nip helper-address 10.20.0.6\r\n")
      << "the port first: the mode would pass over it";
  char path[128];
  const int length = show_dhcp_relay_info(path, 1, 2);
  ASSERT_EQ(length, static_cast<int>(strlen(path)) + 1);
  FILE* file = fopen(path, "r");
  ASSERT_NE(file, nullptr);
  char text[1024] = "";
  EXPECT_GT(fread(text, 1, sizeof text - 1, file), 0u);
  fclose(file);
  EXPECT_THAT(std::string(text), EndsWith("10.20.0.5             20                  valid\n"
                                          "10.20.0.6             --                  invalid\n\n"));
  EXPECT_THAT(std::string(text), testing::StartsWith("\nDHCP relay status :              enable \n\n"));
  device().temp_files_cannot_be_made = true;
  EXPECT_EQ(show_dhcp_relay_info(path, 1, 2), -1);
}

TEST_F(RelayConfig, HelpersOutliveTheRelayAndGoWithANewStart) {
  start_routing();
  receive(discover());
  EXPECT_EQ(dhcpr_cfg.info_count, 1);
  exit_DHCPR_cfg();
  EXPECT_EQ(dhcpr_cfg.status, 0);
  EXPECT_EQ(dhcpr_cfg.info_count, 0);
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(listed().size(), 1u);
  init_DHCPR_cfg();
  EXPECT_EQ(listed().size(), 0u);
  EXPECT_EQ(dhcpr_cfg.tag_mode, 1) << "switches are not what a run has gathered";
  EXPECT_EQ(dhcpr_cfg.dev_mac_valid, 0);
  device().take_sent();
}

TEST_F(RelayConfig, SocketOnTheServersPort) {
  const int socket = DHCPR_socket();
  EXPECT_GE(socket, 0);
  EXPECT_THAT(device().calls(), testing::Contains("bind(67)"));
  close(socket);
  device().bind_error = EADDRINUSE;
  EXPECT_EQ(DHCPR_socket(), -1);
  EXPECT_EQ(device().logged_at("dhcpr: socket bind failed! Address already in use \r\n", "dhcp_relay"), 1);
  device().sockets_cannot_be_made = true;
  testing::internal::CaptureStderr();
  EXPECT_EQ(DHCPR_socket(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "dhcpr: socket create failed! Too many open files\r\n");
}

}  // namespace
