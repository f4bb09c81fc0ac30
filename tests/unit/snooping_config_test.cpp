/// What the host sets, and how it is shown and saved; the chip rules as snooping and server come and go.
#include "dhcp/module.h"
#include "dhcp/relay.h"
#include "dhcp/trap.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::device;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class SnoopingConfig : public bench::SnoopingBench {
 protected:
  static bool snooped(int vlan) { return (g_dhcp_snooping.vlan_bitmap[vlan / 8] >> vlan % 8 & 1) != 0; }
  /// What every saved and shown text of the tests is made of.
  static void configure() {
    for (const int vlan : {5, 6, 7, 4094}) set_dhcp_snoop_vlan(1, vlan);
    set_dhcp_snoop_limit(150);
    set_dhcp_snoop_verify(1);
    set_dhcp_snoop_trust(1, group);
    set_dhcp_snoop_suppression(1, port);
    set_dhcp_snoop_suppression(1, uplink);
    set_dhcp_snoop_bind(1, client.data(), 0, port, 10, 3600);
    set_dhcp_snoop_bind(1, neighbour.data(), address, group, 20, -1);
    for (const uint32_t n : {1u, 2u, 3u}) set_dhcp_snoop_serverip(1, server_ip + n);
    set_dhcp_snoop_writeflash(1, 300);
    set_dhcp_snoop_option82_circuit_id(1, 10, 7, "hall");
    set_dhcp_snoop_option82_remote_id(1, 10, 8, "attic");
    set_dhcp_snoop_option82_ip(1, 20, address);
    set_dhcp_snoop_option82_switch(1);
    set_dhcp_snoop_untrust_option82_switch(0);
  }
};

/// What the command line's round trip does not see: groups, the ends of lines, and a service that is off.
TEST_F(SnoopingConfig, SavedLinesOfGroupsAndOfAFreshSwitch) {
  set_dhcp_snoop_trust(0, uplink);
  set_dhcp_snoop_trust(1, group);
  set_dhcp_snoop_bind(1, neighbour.data(), address, group, 20, -1);
  EXPECT_EQ(saved(onu_dhcp_snoop_save),
            "ip dhcp snooping\r\n"
            "ip dhcp snooping vlan 10,20\r\n"
            "interface aggregateport 2\r\n"
            "ip dhcp snooping trust\r\n"
            "exit\r\n"
            "interface aggregateport 2\r\n"
            "ip dhcp snooping binding mac 02:aa:00:00:00:02 ip 192.168.1.10 vlan 20 expiry -1\r\n"
            "exit\r\n");
  init_dhcp_snooping();
  find_MacBindStruct(client.data(), 1)->state = 1;
  EXPECT_EQ(saved(onu_dhcp_snoop_save), "") << "as it is out of the box, with a client";
}

TEST_F(SnoopingConfig, DisplayOfTheConfiguration) {
  configure();
  for (int vlan = 100; vlan < 104; ++vlan) set_dhcp_snoop_vlan(1, vlan);
  set_dhcp_snoop_suppression(0, port);
  snoop_count_dropped(port, wire::ACK);
  snoop_count_dropped(port, wire::NAK);
  receive(from_server(wire::OFFER, client), port);
  const auto line = [](const std::string& label, const std::string& rest) {
    return "         " + label + std::string(label.size() < 32 ? 32 - label.size() : 0, ' ') + " " + rest + "\n";
  };
  EXPECT_EQ(shown(show_dhcp_snoop_conf),
            line("DHCP snooping status :", "enable ") + line("DHCP snooping vlan :", "5  6  7  10  20  100  101 102") +
                "         " + std::string(31, ' ') + ":   103  4094\n" +
                line("DHCP snooping packet limit :", "150 pps") + line("DHCP snooping verify status :", "enable ") +
                line("DHCP snooping option82 status :", "enable ") + line("DHCP snooping user option82 :", "untrust ") +
                line("dhcp server ipaddr :", "192.168.1.2 192.168.1.3") + "         " + std::string(31, ' ') +
                ": 192.168.1.4 \n" + line("DHCP snooping database write-delay time :", "300 s") +
                line("Last rogue DHCP server :", "mac 02:bb:00:00:00:01 ip 192.168.1.1 port Gi3 vlan 10") +
                "         Interface    Trusted    Suppression   Dropped Ack Pkts   Dropped Offer Pkts\n"
                "         ----------   --------   -----------   ----------------   ------------------\n"
                "         Gi3          no         disable       1                  1\n"
                "         Gi24         yes        enable        0                  0\n"
                "         Ag2          yes        disable       0                  0\n");
  init_dhcp_snooping();
  const std::string bare = shown(show_dhcp_snoop_conf);
  EXPECT_THAT(bare, HasSubstr(line("DHCP snooping vlan :", "None")));
  EXPECT_THAT(bare, HasSubstr(line("dhcp server ipaddr :", "None")));
  EXPECT_THAT(bare, testing::EndsWith("  ------------------\n"));
}

TEST_F(SnoopingConfig, DisplaysOfBindingsAndOption82) {
  configure();
  EXPECT_EQ(shown(show_dhcp_snoop_bind),
            "         Mac address | IP address          Vlan    Interface    Lease       Status\n"
            "         -----------   ----------          ----    ---------    -----       ------\n"
            "   02:aa:00:00:00:01 | 0.0.0.0             10        Gi3        3600        Static  \n"
            "   02:aa:00:00:00:02 | 192.168.1.10        20        Ag2        -1          Static  \n");
  EXPECT_THAT(shown(show_dhcp_snoop_option82_circuit_id), HasSubstr("\n         10       7            hall\n"));
  EXPECT_THAT(shown(show_dhcp_snoop_option82_remote_id), testing::EndsWith("\n         10       8            attic\n"));
  EXPECT_THAT(shown(show_dhcp_snoop_option82_ip), testing::EndsWith("\n         20       192.168.1.10\n"));
  at(77);
  DhcpSnoopBinding values[2]{};
  EXPECT_EQ(dhcp_snoop_get_bindings(values, 1), 2);
  EXPECT_EQ(values[0].age, 77);
  EXPECT_EQ(values[0].vlan, 10);
  EXPECT_EQ(values[1].vlan, 0) << "no room, no write";
  device().temp_files_cannot_be_made = true;
  char path[128] = "";
  for (const auto show : {show_dhcp_snoop_conf, show_dhcp_snoop_bind, show_dhcp_snoop_option82_circuit_id,
                          show_dhcp_snoop_option82_remote_id, show_dhcp_snoop_option82_ip}) {
    EXPECT_EQ(show(path, 0, 0), -1);
  }
}

TEST_F(SnoopingConfig, OnlyVlansThatExistAreTakenAndAnyMayGo) {
  device().missing_vlans = {30, 10};
  const int results[] = {set_dhcp_snoop_vlan(1, 30), set_dhcp_snoop_vlan(1, 0), set_dhcp_snoop_vlan(1, 4095),
                         set_dhcp_snoop_vlan(0, 65535), set_dhcp_snoop_bind(1, client.data(), address, port, 30, 60)};
  EXPECT_THAT(results, testing::Each(-90));
  EXPECT_FALSE(snooped(30));
  EXPECT_EQ(find(client), nullptr);
  EXPECT_EQ(set_dhcp_snoop_vlan(0, 10), 0);
  EXPECT_FALSE(snooped(10));
  for (const int vlan : {1, 4094}) EXPECT_EQ(set_dhcp_snoop_vlan(1, vlan), 0);
  EXPECT_TRUE(snooped(1) && snooped(4094) && !snooped(4093));
}

TEST_F(SnoopingConfig, WhatCannotBeSetIsRefusedAndSaid) {
  set_dhcp_snoop_bind(1, client.data(), address, port, 10, 60);
  const int results[] = {set_dhcp_snoop_trust(1, 99), set_dhcp_snoop_suppression(1, 99), set_dhcp_snoop_limit(-1),
                         set_dhcp_snoop_option82_circuit_id(1, 10, 1, nullptr),
                         set_dhcp_snoop_bind(0, client.data(), 0, other_port, 0, 0)};
  EXPECT_THAT(results, testing::Each(-1));
  EXPECT_EQ(device().logged_at("the port 0x63 is not exist", "DHCPS_port"), 1);
  EXPECT_EQ(device().logged_at("the port 0x63 is not exist", "DHCPS_suppresion"), 1);
  EXPECT_EQ(g_dhcp_snooping.limit, 0);
  EXPECT_EQ(set_dhcp_snoop_bind(0, client.data(), 0, port, 0, 0), 0);
  EXPECT_EQ(find(client), nullptr);
}

TEST_F(SnoopingConfig, StaticBindingReplacesWhatTheClientHadAndWhoeverHadItsAddress) {
  bind(client);
  bind(neighbour, address + 1);
  EXPECT_EQ(set_dhcp_snoop_bind(1, client.data(), address + 1, other_port, 20, 60), 0);
  EXPECT_EQ(find_VlanIp_entry(10, address), nullptr);
  EXPECT_EQ(find_VlanIp_entry(20, address + 1), find(client));
  EXPECT_EQ(set_dhcp_snoop_bind(1, client.data(), address + 1, other_port, 10, 60), 0);
  EXPECT_EQ(find(neighbour), nullptr);
  EXPECT_EQ(find_VlanIp_entry(20, address + 1), nullptr);
  EXPECT_EQ(set_dhcp_snoop_bind(1, client.data(), 0, port, 10, 60), 0);
  EXPECT_EQ(find_VlanIp_entry(10, address + 1), nullptr);
  EXPECT_EQ(find(client)->intf, uint32_t{port});
}

TEST_F(SnoopingConfig, LastOfSnoopingRelayAndServerTakesTheRulesAlong) {
  EXPECT_THAT(device().rules(), SizeIs(2));
  int on = 0;
  get_dhcp_snoop_switch(&on);
  EXPECT_EQ(on, 1);
  dhcp_server_start_stop(1);
  set_dhcp_snoop_switch(0);
  EXPECT_THAT(device().rules(), SizeIs(2)) << "the server needs them";
  dhcp_server_start_stop(0);
  EXPECT_THAT(device().rules(), IsEmpty());
  set_dhcp_snoop_switch(1);
  dhcp_server_start_stop(1);
  dhcp_server_start_stop(0);
  EXPECT_THAT(device().rules(), SizeIs(2)) << "snooping needs them";
  dhcpr_cfg.status = DHCPR_ON;
  set_dhcp_snoop_switch(0);
  EXPECT_THAT(device().rules(), SizeIs(2)) << "the relay needs them";
  dhcpr_cfg.status = DHCPR_OFF;
  close_dhcp_cpu();
  set_dhcp_snoop_switch(0);
  EXPECT_EQ(device().logged_at("close dhcp snooping function", "DHCPS_close"), 2) << "nothing twice";
}

TEST_F(SnoopingConfig, ChangedPortsGetRulesAndLimitAnew) {
  set_dhcp_snoop_limit(20);
  set_dhcp_snoop_trust(1, 5);
  uint32_t ports[24] = {40, 5};
  ports[8] = 6;
  bind(client, address, 6);
  const size_t calls = device().calls().size();
  device().rules_.clear();
  EXPECT_EQ(notice_port_change_to_dhcp(ports), 0);
  EXPECT_THAT(device().rules(), SizeIs(2));
  const auto all = device().calls();
  EXPECT_EQ(std::count(all.begin() + static_cast<std::ptrdiff_t>(calls), all.end(), "user_rx_cos_rate_set(8,20)"), 1);
  EXPECT_EQ(entry_of(5).trust, 1);
  EXPECT_EQ(g_dhcp_snooping.intf_count, 37);
  EXPECT_NE(find(client), nullptr) << "a client outlives its port";
  EXPECT_EQ(receive(bench::discover(neighbour), 40).sent.size(), 1u);
  set_dhcp_snoop_switch(0);
  notice_port_change_to_dhcp(ports);
  EXPECT_THAT(device().rules(), IsEmpty());
}

}  // namespace
