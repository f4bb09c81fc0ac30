/// DHCPv6 snooping's settings: chip rules, texts, displays, saved lines, clears, binding file.
#include <filesystem>

#include "dhcp/relay6.h"
#include "dhcp/trap.h"
#include "tests/unit/snooping6_bench.h"

namespace {

using bench::device;
using bench::mac_number;
using bench::read_file;
using bench::write_file;
using testing::ElementsAre;
using wire::ip6;
using wire::Message6;

class Snooping6Config : public bench::Snooping6Bench {
 protected:
  /// The rules of group 11 as "rule:udp port:action:low ports:high ports".
  static std::vector<std::string> rules() {
    std::vector<std::string> texts;
    for (const auto& [place, entity] : device().rules()) {
      uint32_t map[8];
      uint16_t udp_port = 0;
      memcpy(map, entity.qualify[0].data, sizeof map);
      memcpy(&udp_port, entity.qualify[1].data, sizeof udp_port);
      EXPECT_EQ(entity.qualify[0].code * 100 + entity.qualify[1].code, 1328);
      EXPECT_TRUE(entity.actions == 1 || (entity.action[1].code == 2 && entity.action[1].value == 2));
      char text[80];
      snprintf(text, sizeof text, "%u/%u:%d:%d:%x:%x", place.first, place.second, int{udp_port}, entity.action[0].code,
               map[0], map[1]);
      texts.emplace_back(text);
    }
    return texts;
  }
  static DhcpSnoopDatabase history() {
    DhcpSnoopDatabase database;
    dhcp6_snoop_get_database(&database);
    return database;
  }
};

TEST_F(Snooping6Config, ChipRulesFollowSwitchTrustAndTheOtherServices) {
  const std::string cpu0 = "11/0:547:30:fffffffe:ffffffff", cpu1 = "11/1:546:30:fffffffe:ffffffff",
                    all = "11/2:546:40:1ffffffe:0", but_uplink = "11/2:546:40:1efffffe:0";
  EXPECT_THAT(rules(), ElementsAre(cpu0, cpu1, but_uplink));
  set_dhcp6_snoop_trust(0, uplink);
  EXPECT_THAT(rules(), ElementsAre(cpu0, cpu1, all));
  set_dhcp6_snoop_switch(0);
  EXPECT_THAT(rules(), testing::IsEmpty());
  set_dhcp6_snoop_trust(1, uplink);
  EXPECT_THAT(rules(), testing::IsEmpty()) << "trust waits for the switch";
  // The relay has installed the rules and keeps them, whatever snooping does.
  gDhcp6Relay.status = 1;
  open_dhcp6_cpu();
  set_dhcp6_snoop_switch(1);
  EXPECT_THAT(rules(), ElementsAre(cpu0, cpu1, but_uplink));
  set_dhcp6_snoop_switch(1);
  set_dhcp6_snoop_switch(0);
  EXPECT_THAT(rules(), ElementsAre(cpu0, cpu1));
  close_dhcp6_cpu();
  set_dhcp6_snoop_switch(1);
  EXPECT_THAT(rules(), ElementsAre(but_uplink)) << "nor does it install them";
  set_dhcp6_snoop_switch(0);
  gDhcp6Relay.status = 0;
  set_dhcp6_snoop_switch(1);
  for (uint32_t intf = 1; intf <= 28; ++intf) set_dhcp6_snoop_trust(1, intf);
  EXPECT_THAT(rules(), ElementsAre(cpu0, cpu1)) << "no untrusted port, no rule";
  EXPECT_EQ(device().logged_at("open,open dhcp snooping function", "dhcpc"), 4);
  EXPECT_EQ(device().logged_at("close,close dhcp snooping function", "dhcpc"), 3);
  add_dhcp6_acl_rule(2, 4);
  EXPECT_THAT(rules(), ElementsAre("11/0:547:30:2:4", "11/1:546:30:2:4"));
  device().chip_refuses_rules = true;
  EXPECT_EQ(add_dhcp6_acl_rule(1, 1), -1);
  EXPECT_THAT(rules(), testing::IsEmpty()) << "half of a pair";
}

TEST_F(Snooping6Config, SettersRefuseWhatIsNotThereAndKnowNoLimitOfServers) {
  device().missing_vlans = {40};
  EXPECT_EQ(set_dhcp6_snoop_vlan(1, 40), -90);
  EXPECT_EQ(set_dhcp6_snoop_vlan(0, 4095), -90);
  EXPECT_EQ(set_dhcp6_snoop_trust(1, group) + set_dhcp6_snoop_suppression(1, 99), 0) << "only said";
  EXPECT_EQ(device().logged_at("port,the port 0x10000002 is not exist", "dhcpc"), 1);
  EXPECT_EQ(device().logged_at("suppresion,the port 0x63 is not exist", "dhcpc"), 1);
  for (uint32_t n = 0; n < 30; ++n) set_dhcp6_snoop_serverip(1, ip6(("fe80::" + std::to_string(n)).c_str()).data());
  EXPECT_EQ(g_dhcp6_snooping.server_count, 30) << "as many as are named, each once";
  EXPECT_EQ(check_dhcp6_serverip_valid(server_ip.data()), 1);
  set_dhcp6_snoop_serverip(0, server_ip.data());
  EXPECT_EQ(check_dhcp6_serverip_valid(server_ip.data()), 0);
  fake::fail_allocations(1);
  EXPECT_EQ(set_dhcp6_snoop_serverip(1, server_ip.data()), -1);
}

TEST_F(Snooping6Config, DisplaysAreTheseBytes) {
  for (const int vlan : {5, 6, 7, 21, 22, 23, 4094}) set_dhcp6_snoop_vlan(1, vlan);
  set_dhcp6_snoop_suppression(1, other_port);
  set_dhcp6_snoop_bind(1, neighbour.data(), 27, 10, 900);
  bind(client);
  for (const char* text : {"fe80::3", "fe80::2", "fe80::1"}) set_dhcp6_snoop_serverip(1, ip6(text).data());
  set_dhcp6_snoop_writeflash(1, 300);
  const std::string path = device().temp_directory() + "/conf";
  EXPECT_EQ(show_dhcp6_snoop_conf(path.c_str()), static_cast<int>(path.size()) + 1);
  EXPECT_EQ(show_dhcp6_snoop_conf("/nonexistent/conf"), -1);
  EXPECT_EQ(read_file(path),
            "         DHCPv6 snooping status :         enable \n"
            "         DHCPv6 snooping vlan :           5  6  7  10  20  21  22 23\n"
            "                                        :   4094\n"
            "         dhcpv6 server ipaddr :           fe80::1 fe80::2\n"
            "                                        : fe80::3 \n"
            "         DHCPv6 snooping database write-delay time : 300 s\n"
            "         Interface    Trusted    Suppression\n"
            "         ----------   --------   -----------\n"
            "         Gi4          no         enable\n"
            "         Gi24         yes        disable\n");
  EXPECT_EQ(shown(show_dhcp6_snoop_bind),
            "         Mac address | IP address          Vlan    Interface    Lease       Status\n"
            "         -----------   ----------          ----    ---------    -----       ------\n"
            "   02:aa:00:00:00:01 | 2001:db8::10        10        Gi3        600         Dynamic \n"
            "   02:aa:00:00:00:02 | ::                  10        Gi27       900         Static  \n");
  EXPECT_THAT(saved(onu_dhcp6_snoop_save),
              testing::StartsWith("ipv6 dhcp snooping\r\nipv6 dhcp snooping vlan 5-7,10,20-23,4094\r\n"));
  at(7);
  Dhcp6SnoopBinding values[2];
  memset(values, 0xa5, sizeof values);
  EXPECT_EQ(dhcp6_snoop_get_bindings(values, 1), 2);
  EXPECT_EQ(wire::bytes_of(address), bench::Bytes(values[0].ip6, values[0].ip6 + 16));
  EXPECT_EQ(values[0].age, 7);
  EXPECT_EQ(values[1].mac[0], 0xa5) << "beyond the room";
  init_dhcp6_snooping();
  EXPECT_EQ(saved(onu_dhcp6_snoop_save), "");
  show_dhcp6_snoop_conf(path.c_str());
  EXPECT_THAT(read_file(path), testing::StartsWith("         DHCPv6 snooping status :         disable \n"
                                                   "         DHCPv6 snooping vlan :           None\n"
                                                   "         dhcpv6 server ipaddr :           None\n"));
}

TEST_F(Snooping6Config, ClearByPointersLooksAtThoseThatAreGiven) {
  const int vlan = 10;
  const uint32_t intf = other_port;
  bind(client);
  dhcp6_snooping_binding_clear_action(client.data(), &vlan, &intf, nullptr, 0);
  EXPECT_NE(find(client), nullptr);
  find(client)->is_static = 1;
  dhcp6_snooping_binding_clear_action(nullptr, &vlan, nullptr, address.data(), 1);
  EXPECT_NE(find(client), nullptr) << "a static one is kept where dynamic ones are meant";
  dhcp6_snooping_binding_clear_action(nullptr, &vlan, nullptr, address.data(), 0);
  EXPECT_EQ(find(client), nullptr);
}

TEST_F(Snooping6Config, FileIsWrittenReadBackOnceAndGone) {
  bind(client, address, other_port, 20, 86400);
  bind(mac_number(1), ip6("2001:db8::1"), port, 10, 0xffffffff);
  set_dhcp6_snoop_bind(1, neighbour.data(), port, 10, 900);
  receive(Message6(wire::SOLICIT6, mac_number(2)), port);
  EXPECT_EQ(write_dhcp6_snoop_to_flash(), 0);
  const std::string text =
      "00:10:20:30:00:01,-1,10,3,0,2001:db8::1\n"
      "02:aa:00:00:00:01,86400,20,4,0,2001:db8::10\n"
      "02:aa:00:00:00:02,900,10,3,1,::\n";
  EXPECT_EQ(read_file(table_path()), text);
  init_dhcp6_snooping();
  set_dhcp6_snoop_bind(1, neighbour.data(), port, 10, 70);
  at(500);
  EXPECT_EQ(read_dhcp6_snoop_from_flash(), 0);
  EXPECT_FALSE(std::filesystem::exists(table_path()));
  EXPECT_EQ(g_dhcp6_snooping.bind_count, 3) << "no second static binding";
  EXPECT_EQ(holder(20, address)->time, static_cast<int32_t>(start + 500));
  EXPECT_EQ(g_dhcp6_snooping.min_lease, -1);
  write_dhcp6_snoop_to_flash();
  EXPECT_EQ(read_file(table_path()), text);
  // Nothing is rejected.
  write_file(table_path(), "garbage\n02:aa:00:00:00:09,5,10,3,0,\n" + std::string(300, 'x') +
                               "\n02:aa:00:00:00:0a,5,99999,3,0,2001:db8::7:" + std::string(90, '0') + "\n");
  read_dhcp6_snoop_from_flash();
  EXPECT_EQ(history().loaded, 0u);
  EXPECT_EQ(history().skipped, 5u) << "a line of 300 in two pieces";
  expect_whole();
}

}  // namespace
