/// DHCP snooping at the command line: what is refused and why, saving and loading, readouts, clearing.
#include "dhcp/snooping.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/adp.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/snooping_family.h"
#include "tests/cli/bench.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class SnoopingLinesTest : public CliTest {
 protected:
  /// The last digits of the clients that are known, ascending.
  static std::string known() {
    std::string digits;
    for (const DhcpSnoopBinding& binding : all_bindings<Snooping4>()) digits += std::to_string(binding.mac[5]);
    std::sort(digits.begin(), digits.end());
    return digits;
  }
  /// Six clients that differ in one thing or another; 6 is learnt, the others are static.
  void meet_clients() {
    type({"configure", "vlan 10,20", "interface gigabitethernet 1",
          "ip dhcp snooping binding mac 02:00:00:00:00:01 ip 10.0.0.1 vlan 10 expiry 600",
          "ip dhcp snooping binding mac 02:00:00:00:00:02 ip 10.0.0.1 vlan 20 expiry 600",
          "ip dhcp snooping binding mac 02:00:00:00:00:04 ip 10.0.0.4 vlan 10 expiry 600",
          "interface gigabitethernet 2",
          "ip dhcp snooping binding mac 02:00:00:00:00:03 ip 10.0.0.3 vlan 10 expiry 600",
          "ip dhcp snooping binding mac 02:00:00:00:00:05 ip 10.0.0.1 vlan 30 expiry 600", "end"});
    learn(6, 1, 10);
  }
  static void learn(uint8_t digit, uint32_t intf, int vlan) {
    const uint8_t mac[6] = {2, 0, 0, 0, 0, digit};
    dhcp_snooping_mutex_lock_func();
    MacBindStruct* const binding = find_MacBindStruct(mac, 1);
    binding->intf = binding->new_intf = intf;
    binding->vlan = binding->new_vlan = vlan;
    binding->time = static_cast<int32_t>(fake::device().now.load());
    dhcp_snooping_mutex_unlock_func();
  }
};

TEST_F(SnoopingLinesTest, WhatWouldNeverWorkIsRefusedAndChangesNothing) {
  meet_clients();
  type({"configure", "ip dhcp snooping vlan 10", "ip dhcp snooping dhcpserver 192.0.2.1",
        "interface gigabitethernet 1"});
  const std::string before = type({"do show running-config"});
  const struct {
    const char *line, *fault;
  } rows[] = {
      {"ip dhcp snooping vlan 10,11,12", "22: there is no VLAN 11"},
      {"ip dhcp snooping vlan all", "22: name the VLANs"},
      {"no ip dhcp snooping vlan all", "25: name the VLANs"},
      {"no vlan 20,10", "8: DHCP snooping is on in VLAN 10"},
      {"ip dhcp snooping limit 0", "23: the packet limit must be a number from 1 to 1000000"},
      {"ip dhcp snooping verify mac-address 02:00:00:00:00:01 mode 2", "59: the mode must be a number from 0 to 1"},
      {"no ip dhcp snooping verify mac-address 02:00:00:00:00:09", "39: this address is not on the list"},
      {"ip dhcp snooping dhcpserver 0.0.0.0", "28: not the address of a server"},
      {"no ip dhcp snooping dhcpserver 192.0.2.2", "31: this server is not on the list"},
      {"ip dhcp snooping binding mac 02:00:00:00:00:07 vlan 10 expiry x", "62: a lease is a number of seconds"},
      {"ip dhcp snooping binding mac 02:00:00:00:00:07 vlan 10 expiry 2147483648",
       "62: a lease is a number of seconds"},
      {"no ip dhcp snooping binding mac 02:00:00:00:00:03", "32: this port has no binding of that address"},
      {"no ip dhcp snooping binding mac 02:00:00:00:00:06",
       "32: this binding was learnt; clear ip dhcp snooping binding removes it"},
      {"ip dhcp information option circuitid 256 fromvlan 10 acsii-string x",
       "37: the number before the text must be a number from 0 to 255"},
  };
  for (const auto& row : rows) {
    type({"interface gigabitethernet 1"});
    EXPECT_EQ(refusal(row.line), row.fault) << row.line;
  }
  EXPECT_EQ(type({"do show running-config"}), before);
  EXPECT_EQ(known(), "123456");
  EXPECT_EQ(fake().vlan_set.count(20), 1U) << "not even the first of two VLANs is gone";
  for (int n = 2; n <= 10; ++n) type({"ip dhcp snooping dhcpserver 192.0.2." + std::to_string(n)});
  EXPECT_EQ(refusal("ip dhcp snooping dhcpserver 192.0.2.11"), "28: there are 10 servers, no more fit");
}

TEST_F(SnoopingLinesTest, EveryLineReachesTheModule) {
  type({"configure", "vlan 5-7,10", "ip dhcp snooping", "ip dhcp snooping vlan 5-7,10", "no ip dhcp snooping vlan 6",
        "ip dhcp snooping limit 250", "ip dhcp snooping verify mac-address", "ip dhcp snooping database write-delay 60",
        "ip dhcp snooping information option", "no ip dhcp snooping information client_option",
        "ip dhcp information option circuitid 255 fromvlan 10 acsii-string two words",
        "ip dhcp information option remoteid 0 fromvlan 10 acsii-string " + std::string(63, 'r'),
        "ip dhcp information option ip 10.0.0.0 fromvlan 10", "interface gigabitethernet 3", "ip dhcp snooping trust",
        "interface gigabitethernet 4", "ip dhcp snooping suppression",
        "ip dhcp snooping binding mac 02:00:00:00:00:07 vlan 77 expiry -1"});
  const DhcpSnoopConfig& conf = g_dhcp_snooping;
  EXPECT_EQ(conf.enable, 1);
  EXPECT_EQ(conf.vlan_bitmap[0], 1U << 5 | 1U << 7);
  EXPECT_EQ(conf.vlan_bitmap[1], 1U << 2);
  EXPECT_EQ(conf.limit, 250);
  EXPECT_EQ(conf.verify_enable, 1);
  EXPECT_EQ(conf.writeflash_interval, 60);
  EXPECT_EQ(conf.option82_enable, 1);
  EXPECT_EQ(conf.allow_untrust_option82, 0);
  const SUB_OPTION* const option = __find_SUB_OPTION(10);
  ASSERT_NE(option, nullptr);
  EXPECT_EQ(option->circuit_id, 255);
  EXPECT_STREQ(option->circuit_string, "two words");
  EXPECT_EQ(option->remote_string, std::string(63, 'r'));
  EXPECT_EQ(option->ip, 0x0a000000U);
  const auto bindings = all_bindings<Snooping4>();
  ASSERT_EQ(bindings.size(), 1U);
  EXPECT_EQ(bindings[0].lease, -1);
  EXPECT_EQ(bindings[0].intf, 4U);
  EXPECT_EQ(fake().vlan_set.count(77), 1U) << "a static client brings its VLAN";

  type({"no ip dhcp information option circuitid 255 fromvlan 10",
        "no ip dhcp information option ip 10.0.0.0 fromvlan 10",
        "no ip dhcp information option remoteid 0 fromvlan 10 acsii-string whatever", "interface gigabitethernet 4",
        "no ip dhcp snooping binding mac 02:00:00:00:00:07 vlan 77 expiry -1", "no ip dhcp snooping limit",
        "no ip dhcp snooping"});
  EXPECT_EQ(__find_SUB_OPTION(10), nullptr);
  EXPECT_EQ(known(), "");
  EXPECT_EQ(conf.limit, 0);
  EXPECT_EQ(conf.enable, 0);
}

constexpr char rich[] =
    "vlan 5-7,10\r\n"
    "interface gigabitethernet 2\r\n"
    "ip verify source\r\n"
    "ip arp inspection\r\n"
    "exit\r\n"
    "ip dhcp snooping\r\n"
    "ip dhcp snooping vlan 5-7,10\r\n"
    "ip dhcp snooping limit 5000\r\n"
    "ip dhcp snooping verify mac-address\r\n"
    "ip dhcp snooping verify mac-address 02:00:00:00:00:61 mode 0\r\n"
    "ip dhcp snooping verify mac-address 02:00:00:00:00:62 mode 1\r\n"
    "interface gigabitethernet  1\r\n"
    "ip dhcp snooping trust\r\n"
    "exit\r\n"
    "interface gigabitethernet  3\r\n"
    "ip dhcp snooping trust\r\n"
    "ip dhcp snooping suppression\r\n"
    "exit\r\n"
    "interface gigabitethernet  2\r\n"
    "ip dhcp snooping binding mac 02:00:00:00:00:51 ip 10.0.0.51 vlan 10 expiry 86400\r\n"
    "exit\r\n"
    "interface gigabitethernet  2\r\n"
    "ip dhcp snooping binding mac 00:02:00:00:00:51 vlan 99 expiry -1\r\n"
    "exit\r\n"
    "ip dhcp snooping dhcpserver 192.0.2.1\r\n"
    "ip dhcp snooping dhcpserver 192.0.2.2\r\n"
    "ip dhcp snooping database write-delay 300\r\n"
    "ip dhcp information option circuitid 1 fromvlan 10 acsii-string two words\r\n"
    "ip dhcp information option remoteid 2 fromvlan 10 acsii-string r\r\n"
    "ip dhcp information option ip 10.0.0.1 fromvlan 10\r\n"
    "ip dhcp information option ip 10.0.1.1 fromvlan 11\r\n"
    "ip dhcp snooping information option\r\n"
    "no ip dhcp snooping information client_option\r\n"
    "end\r\n";

/// Clients of one MAC bucket and option 82's VLANs are walked newest first: each load turns them round, and two loads
/// give back the first text.
TEST_F(SnoopingLinesTest, WhatIsSavedLoadsAgain) {
  ASSERT_EQ(load(rich), "");
  const std::string first = running();
  std::istringstream lines(rich);
  for (std::string line; std::getline(lines, line);) {
    const std::string bare(line.substr(0, line.find('\r')));
    if (bare.starts_with("vlan") || bare.starts_with("interface")) continue;
    EXPECT_THAT(first, HasSubstr(bare + "\n"));
  }
  EXPECT_THAT(first, HasSubstr("vlan 5-7,10,99\n")) << "the static client's own";
  wipe();
  ASSERT_EQ(load(first), "");
  const std::string second = running();
  EXPECT_NE(second, first);
  wipe();
  ASSERT_EQ(load(second), "");
  EXPECT_EQ(running(), first);
  const auto sorted = [](const std::string& text) {
    std::multiset<std::string> all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) all.insert(line);
    return all;
  };
  EXPECT_EQ(sorted(second), sorted(first));
}

/// Each command clears the clients that agree with all it names, and no other.
TEST_F(SnoopingLinesTest, ClearsWhatAgreesWithEveryWord) {
  const struct {
    const char *words, *left;
  } rows[] = {
      {"*", ""},
      {"ip 10.0.0.1", "346"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:01", "23456"},
      {"ip 10.0.0.4 mac 02:00:00:00:00:01", "123456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:01 interface gigabitethernet 1", "23456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:01 interface gigabitethernet 2", "123456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:02 vlan 20", "13456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:02 vlan 10", "123456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:02 vlan 20 interface gigabitethernet 1", "13456"},
      {"ip 10.0.0.1 mac 02:00:00:00:00:02 vlan 20 interface gigabitethernet 2", "123456"},
      {"ip 10.0.0.1 interface gigabitethernet 1", "3456"},
      {"ip 10.0.0.1 vlan 10", "23456"},
      {"ip 10.0.0.1 vlan 30 interface gigabitethernet 2", "12346"},
      {"ip 10.0.0.1 vlan 30 interface gigabitethernet 1", "123456"},
      {"mac 02:00:00:00:00:06", "12345"},
      {"mac 02:00:00:00:00:03 interface gigabitethernet 2", "12456"},
      {"mac 02:00:00:00:00:03 interface gigabitethernet 1", "123456"},
      {"mac 02:00:00:00:00:03 vlan 10", "12456"},
      {"mac 02:00:00:00:00:03 vlan 20", "123456"},
      {"mac 02:00:00:00:00:03 vlan 10 interface gigabitethernet 2", "12456"},
      {"mac 02:00:00:00:00:03 vlan 10 interface gigabitethernet 1", "123456"},
      {"interface gigabitethernet 1", "35"},
      {"dynamic interface gigabitethernet 1", "12345"},
      {"vlan 10", "25"},
      {"vlan 10 interface gigabitethernet 1", "235"},
  };
  for (const auto& row : rows) {
    wipe();
    meet_clients();
    ASSERT_EQ(known(), "123456");
    type({"clear ip dhcp snooping binding " + std::string(row.words)});
    EXPECT_EQ(known(), row.left) << row.words;
  }
}

TEST_F(SnoopingLinesTest, ShowsTheClientsThatAreAskedFor) {
  meet_clients();
  fake::device().now += 100;
  EXPECT_THAT(type({"show ip dhcp snooping binding"}), HasSubstr("6 of 6 bindings"));
  EXPECT_THAT(type({"show ip dhcp snooping binding vlan 10"}), HasSubstr("4 of 6 bindings"));
  EXPECT_THAT(type({"show ip dhcp snooping binding interface gigabitethernet 2"}), HasSubstr("2 of 6 bindings"));
  const std::string one = type({"show ip dhcp snooping binding mac 02:00:00:00:00:03"});
  EXPECT_THAT(one, AllOf(HasSubstr("02:00:00:00:00:03  10.0.0.3      10  Gi2"), HasSubstr("static"),
                         HasSubstr("1 of 6 bindings")));
  EXPECT_THAT(type({"show ip dhcp snooping binding mac 02:00:00:00:00:06"}), HasSubstr("learning"));

  std::ofstream(database()) << "02:00:00:00:00:07,3600,10,2,0,167772167\nrubbish\n";
  dhcp_snooping_mutex_lock_func();
  read_dhcp_snoop_from_flash();
  dhcp_snooping_mutex_unlock_func();
  fake::device().now += 600;
  EXPECT_THAT(type({"show ip dhcp snooping binding mac 02:00:00:00:00:07"}), HasSubstr("Gi2       3600     3000  dyn"));
  EXPECT_THAT(type({"show ip dhcp snooping database"}),
              AllOf(HasSubstr(database()), HasSubstr("Bindings read          1\n"),
                    HasSubstr("Lines skipped          1\n"), HasSubstr("Last write             never")));
}

TEST_F(SnoopingLinesTest, SavesBindingsWhenTold) {
  EXPECT_THAT(type({"write ip dhcp snooping database"}), HasSubstr("no bound client"));
  EXPECT_FALSE(std::filesystem::exists(database()));
  meet_clients();
  EXPECT_EQ(type({"write ip dhcp snooping database"}), "5 bindings saved to " + database() + "\n");
  EXPECT_THAT(read_file(database()).value_or(""), HasSubstr("02:00:00:00:00:04,600,10,1,1,167772164\n"));
  type({"configure", "no ip dhcp snooping database write-delay", "end"});
  EXPECT_FALSE(std::filesystem::exists(database())) << "turning it off removes the file";
  std::filesystem::create_directory(database() + ".new");
  EXPECT_EQ(refusal("write ip dhcp snooping database"), "cannot write " + database());
}

TEST_F(SnoopingLinesTest, CountsByPortAndFate) {
  skpack headerless{};
  dhcp_packet_snooping_process(&headerless);
  dhcp_snooping_mutex_lock_func();
  snoop_count_dropped(3, 5);
  snoop_count_dropped(3, 2);
  snoop_count_dropped(4, 2);
  dhcp_snooping_mutex_unlock_func();
  const std::string shown = type({"show ip dhcp snooping statistics"});
  EXPECT_THAT(shown, HasSubstr("malformed"));
  EXPECT_THAT(shown, HasSubstr("Gi3                  1                   1\n"));
  type({"clear ip dhcp snooping statistics interface gigabitethernet 3"});
  EXPECT_THAT(type({"show ip dhcp snooping statistics"}), AllOf(HasSubstr("Gi4"), Not(HasSubstr("Gi3"))));
  type({"clear ip dhcp snooping statistics"});
  EXPECT_THAT(type({"show ip dhcp snooping statistics"}), AllOf(Not(HasSubstr("Gi4")), Not(HasSubstr("malformed"))));
}

TEST_F(SnoopingLinesTest, ArpCheckingAsksForTheClientsOnceItsPortIsMarked) {
  meet_clients();
  fake::device().take_neighbour_calls();
  type({"configure", "interface gigabitethernet 2", "ip arp inspection", "ip verify source"});
  EXPECT_TRUE(fake().port_rows[2].config.arp_check);
  EXPECT_TRUE(fake().port_rows[2].config.source_guard);
  EXPECT_EQ(fake::device().take_neighbour_calls().size(), 5U) << "bound clients alone";
  type({"no ip arp inspection", "no ip verify source"});
  EXPECT_THAT(fake::device().take_neighbour_calls(),
              ElementsAre(HasSubstr("check- 02:00:00:00:00:03"), HasSubstr("check- 02:00:00:00:00:05")));
  EXPECT_FALSE(fake().port_rows[2].config.arp_check);
  EXPECT_FALSE(fake().port_rows[2].config.source_guard);
}

TEST_F(SnoopingLinesTest, GuardsShowTheirPortsHostsAndReasons) {
  type({"configure", "interface gigabitethernet 2", "ip verify source", "ip arp inspection", "end"});
  const KnownHost guarded{2, 0x0a000003, 10, {2, 0, 0, 0, 0, 3}, 600, 0}, elsewhere{5, 0x0a000005, 10, {}, 600, 0};
  fake().host_lists[HostList::source_guard] = {guarded, elsewhere};
  fake().host_lists[HostList::arp_check] = {{2, 0x0a000003, 0, {2, 0, 0, 0, 0, 3}, 0, 2}};
  fake().host_lists[HostList::fixed_arp] = {{2, 0x0a000004, 0, {2, 0, 0, 0, 0, 4}, 0, 2}};
  fake().guards[2].of(GuardKind::source) = {7, {1, 2, 3, 4, 0}};
  fake().guards[2].of(GuardKind::arp) = {8, {1, 2, 3, 0, 5}};
  const std::string source = type({"show ip verify source"});
  EXPECT_THAT(source, HasSubstr("Gi2        7       10                2          3           4          1\n"));
  EXPECT_THAT(source, HasSubstr("Gi2   10.0.0.3    02:00:00:00:00:03    10       600\n"));
  EXPECT_THAT(source, Not(HasSubstr("10.0.0.5"))) << "not a guarded port";
  const std::string arp = type({"show ip arp inspection"});
  EXPECT_THAT(arp, HasSubstr("Gi2        8       11                2          3             5          1\n"));
  EXPECT_THAT(arp, HasSubstr("checked  dhcp snooping\n"));
  EXPECT_THAT(arp, HasSubstr("fixed    dhcp snooping\n"));
  type({"clear ip verify source statistics", "clear ip arp inspection entries"});
  EXPECT_EQ(fake().guards[2].of(GuardKind::source).passed, 0U);
  EXPECT_EQ(fake().guards[2].of(GuardKind::arp).passed, 8U);
  EXPECT_EQ(fake().host_lists.count(HostList::arp_check), 0U);
}

TEST_F(SnoopingLinesTest, SavedBindingsThatFillTheTableDoNotKeepTheSwitchFromStarting) {
  for (int digit = 1; digit <= 250; ++digit) learn(static_cast<uint8_t>(digit), 1, 10);
  const std::string one_more = "ip dhcp snooping binding mac 02:00:00:00:01:00 vlan 10 expiry 600";
  EXPECT_EQ(load("interface gigabitethernet 1\n" + one_more + "\n description after it"), "");
  EXPECT_EQ(fake::device().logged(
                "the binding table is full of saved bindings: static binding of 02:00:00:00:01:00 left out\n"),
            1);
  EXPECT_EQ(all_bindings<Snooping4>().size(), 250U);
  type({"configure", "interface gigabitethernet 1"});
  EXPECT_THAT(refusal(one_more), HasSubstr("the binding table is full")) << "an operator is told";
}

}  // namespace
}  // namespace dhcp::softswitch::cli
