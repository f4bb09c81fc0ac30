/// Both snoopings at the command line: what is refused and why, saving and loading, readouts, clearing.
#include <filesystem>
#include <fstream>

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

constexpr uint8_t mac_51[6] = {2, 0, 0, 0, 0, 0x51};

/// The client that the tests' lines are about, on port 1 in VLAN 10.
template <class Binding>
Binding& place(Binding* binding, bool is_static) {
  binding->intf = binding->new_intf = 1;
  binding->vlan = binding->new_vlan = 10;
  binding->lease = 600;
  binding->state = 1;
  binding->is_static = is_static ? 1 : 0;
  binding->time = static_cast<int32_t>(fake::device().now.load());
  return *binding;
}

struct Ipv4 : Snooping4 {
  static constexpr const char *own = "ip 10.0.0.51", *other = "ip 10.0.0.52", *suffix = "";
  static void know(bool is_static) {
    MacBindStruct& binding = place(find_MacBindStruct(mac_51, 1), is_static);
    binding.ip = 0x0a000033;
    insert_VlanIp_table(&binding);
  }
  static void cut_frame(skpack& frame) { dhcp_packet_snooping_process(&frame); }
};

struct Ipv6 : Snooping6 {
  static constexpr const char *own = "ipv6 2001:db8::51", *other = "ipv6 2001:db8::52", *suffix = "6";
  static void know(bool is_static) {
    MacBind6Struct& binding = place(find_MacBind6Struct(mac_51, 1), is_static);
    const uint8_t address[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x51};
    std::copy(address, address + 16, binding.ip6);
    insert_VlanIp6_table(&binding);
  }
  static void cut_frame(skpack& frame) { dhcp6_packet_snooping_process(&frame); }
};

template <class Family>
class BothSnoopings : public CliTest {
 protected:
  static bool known() { return !all_bindings<Family>().empty(); }
  /// The line with the family's first word.
  static std::string line(const std::string& before, const std::string& after) {
    return before + std::string(Family::words.keyword) + " dhcp snooping " + after;
  }
};
using Families = testing::Types<Ipv4, Ipv6>;
TYPED_TEST_SUITE(BothSnoopings, Families);

/// Every selector with the client's own keys, and with one key that is not its own.
TYPED_TEST(BothSnoopings, ClearsWhatAgreesWithEveryWordAndTellsSourceGuard) {
  const struct {
    std::string own, other;
  } keys[] = {{TypeParam::own, TypeParam::other},
              {"mac 02:00:00:00:00:51", "mac 02:00:00:00:00:52"},
              {"vlan 10", "vlan 11"},
              {"interface gigabitethernet 1", "interface gigabitethernet 2"}};
  for (unsigned named = 0; named < 16; ++named) {
    for (unsigned wrong = 0; wrong <= 4; ++wrong) {
      if (wrong < 4 && (named >> wrong & 1) == 0) continue;
      std::string line = this->line("clear ", "binding");
      for (unsigned key = 0; key < 4; ++key)
        if ((named >> key & 1) != 0) line += " " + (key == wrong ? keys[key].other : keys[key].own);
      TypeParam::know(true);
      this->type({named == 0 ? line + " *" : line});
      EXPECT_EQ(this->known(), wrong < 4) << line;
    }
  }
  EXPECT_EQ(this->fake().taken_hosts, TypeParam::words.keyword == "ipv6" ? 48 : 0) << "IPv4's module tells it itself";
  for (const bool is_static : {true, false}) {
    TypeParam::know(is_static);
    this->type({this->line("clear ", "binding dynamic interface gigabitethernet 1")});
    EXPECT_EQ(this->known(), is_static);
  }
}

TYPED_TEST(BothSnoopings, SavesBindingsWhenToldAndShowsTheFile) {
  const std::string path = this->database() + TypeParam::suffix, write = this->line("write ", "database");
  EXPECT_THAT(this->type({write}), HasSubstr("no bound client"));
  TypeParam::know(false);
  EXPECT_EQ(this->type({write}), "1 bindings saved to " + path + "\n");
  EXPECT_THAT(read_file(path).value_or(""), HasSubstr("02:00:00:00:00:51,600,10,1,0,"));
  EXPECT_THAT(
      this->type({this->line("show ", "database")}),
      AllOf(HasSubstr(path), HasSubstr("Bindings written       1\n"), HasSubstr("Last read              never")));
  this->type({"configure", this->line("no ", "database write-delay"), "end"});
  EXPECT_FALSE(std::filesystem::exists(path)) << "turning it off removes the file";
  std::filesystem::create_directory(path + ".new");
  EXPECT_EQ(this->refusal(write), "cannot write " + path);
}

TYPED_TEST(BothSnoopings, CountsByPortAndFate) {
  skpack headerless{};
  TypeParam::cut_frame(headerless);
  EXPECT_THAT(this->type({this->line("show ", "statistics")}), HasSubstr("malformed"));
  this->type({this->line("clear ", "statistics interface gigabitethernet 3")});
  EXPECT_THAT(this->type({this->line("show ", "statistics")}), HasSubstr("malformed"));
  this->type({this->line("clear ", "statistics")});
  EXPECT_THAT(this->type({this->line("show ", "statistics")}), Not(HasSubstr("malformed")));
  TypeParam::cut_frame(headerless);
  EXPECT_THAT(this->type({"show dhcp counters"}), testing::ContainsRegex("snooping6? +- +other +malformed +1\n"));
  EXPECT_THAT(this->type({"show dhcp counters interface gigabitethernet 3"}), Not(HasSubstr("malformed")));
  this->type({"clear dhcp counters"});
  EXPECT_THAT(this->type({"show dhcp counters"}), Not(HasSubstr("malformed")));
}

TYPED_TEST(BothSnoopings, ShowsTheClientsThatAreAskedFor) {
  TypeParam::know(false);
  fake::device().now += 100;
  const std::string show = this->line("show ", "binding"), row = "    10  Gi1        600      500  dynamic  bound\n";
  EXPECT_THAT(this->type({show}), AllOf(HasSubstr(row), HasSubstr("1 of 1 bindings")));
  for (const char* theirs : {" vlan 10", " interface gigabitethernet 1", " mac 02:00:00:00:00:51"}) {
    EXPECT_THAT(this->type({show + theirs}), HasSubstr("1 of 1 bindings")) << theirs;
  }
  for (const char* nobodys : {" vlan 11", " interface gigabitethernet 2", " mac 02:00:00:00:00:52"}) {
    EXPECT_THAT(this->type({show + nobodys}), HasSubstr("0 of 1 bindings")) << nobodys;
  }
}

using SnoopingLinesTest = CliTest;

TEST_F(SnoopingLinesTest, ShowsHowManyServersMessagesTheChipHasStopped) {
  EXPECT_THAT(type({"show ipv6 dhcp snooping"}), HasSubstr("stopped by chip : 1102\n"));
}

TEST_F(SnoopingLinesTest, WhatWouldNeverWorkIsRefusedAndChangesNothing) {
  type({"configure", "vlan 10", "ip dhcp snooping vlan 10", "ipv6 dhcp snooping vlan 10",
        "ip dhcp snooping dhcpserver 192.0.2.1", "ipv6 dhcp snooping dhcpserver fe80::1"});
  Ipv4::know(false);
  Ipv6::know(false);
  const std::string binding = "ip dhcp snooping binding mac 02:00:00:00:00:07 vlan 10 expiry ";
  expect_refused("interface gigabitethernet 1",
                 {{"ip dhcp snooping vlan 10,11,12", "22: there is no VLAN 11"},
                  {"ip dhcp snooping vlan all", "22: name the VLANs"},
                  {"no ip dhcp snooping vlan all", "25: name the VLANs"},
                  {"no vlan 10", "8: DHCP snooping is on in VLAN 10"},
                  {"ip dhcp snooping limit 0", "23: the packet limit must be a number from 1 to 1000000"},
                  {"no ip dhcp snooping verify mac-address 02:00:00:00:00:09", "39: this address is not on the list"},
                  {"ip dhcp snooping dhcpserver 0.0.0.0", "28: not the address of a server"},
                  {"no ip dhcp snooping dhcpserver 192.0.2.2", "31: this server is not on the list"},
                  {binding + "x", "62: a lease is a number of seconds"},
                  {binding + "2147483648", "62: a lease is a number of seconds"},
                  {"no ip dhcp snooping binding mac 02:00:00:00:00:03", "32: this port has no binding of that address"},
                  {"no ip dhcp snooping binding mac 02:00:00:00:00:51",
                   "32: this binding was learnt; clear ip dhcp snooping binding removes it"}});
  type({"no ip dhcp snooping vlan 10"});
  expect_refused("interface gigabitethernet 1",
                 {{"no vlan 10", "8: DHCPv6 snooping is on in VLAN 10"},
                  {"ipv6 dhcp snooping dhcpserver ::", "30: not the address of a server"},
                  {"ipv6 dhcp snooping dhcpserver ff02::1:2", "30: not the address of a server"},
                  {"ipv6 dhcp snooping dhcpserver fe80::1/64", "30: not an IPv6 address"},
                  {"no ipv6 dhcp snooping dhcpserver fe80::2", "33: this server is not on the list"},
                  {"no ipv6 dhcp snooping binding mac 02:00:00:00:00:51",
                   "34: this binding was learnt; clear ipv6 dhcp snooping binding removes it"}});
  for (int n = 2; n <= 10; ++n) type({"ip dhcp snooping dhcpserver 192.0.2." + std::to_string(n)});
  EXPECT_EQ(refusal("ip dhcp snooping dhcpserver 192.0.2.11"), "28: there are 10 servers, no more fit");
}

TEST_F(SnoopingLinesTest, WhatIsSavedLoadsAgain) {
  expect_loads_again(
      "vlan 5-7,10,98-99\r\n"
      "interface gigabitethernet 2\r\n"
      "ip verify source\r\n"
      "ipv6 verify source\r\n"
      "ip arp inspection\r\n"
      "ip dhcp snooping\r\n"
      "ip dhcp snooping vlan 5-7,10\r\n"
      "ip dhcp snooping limit 5000\r\n"
      "ip dhcp snooping verify mac-address\r\n"
      "ip dhcp snooping verify mac-address 02:00:00:00:00:61 mode 0\r\n"
      "ip dhcp snooping verify mac-address 02:00:00:00:00:62 mode 1\r\n"
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
      "ip dhcp information option remoteid 2 fromvlan 10 acsii-string " +
      std::string(63, 'r') +
      "\r\n"
      "ip dhcp information option ip 10.0.0.1 fromvlan 10\r\n"
      "ip dhcp information option ip 10.0.1.1 fromvlan 11\r\n"
      "ip dhcp snooping information option\r\n"
      "no ip dhcp snooping information client_option\r\n"
      "ipv6 dhcp snooping\r\n"
      "ipv6 dhcp snooping vlan 5-7,10\r\n"
      "interface gigabitethernet  3\r\n"
      "ipv6 dhcp snooping trust\r\n"
      "ipv6 dhcp snooping suppression\r\n"
      "exit\r\n"
      "interface gigabitethernet  2\r\n"
      "ipv6 dhcp snooping binding mac 02:00:00:00:00:52 vlan 98 expiry -1\r\n"
      "exit\r\n"
      "ipv6 dhcp snooping dhcpserver fe80::1\r\n"
      "ipv6 dhcp snooping dhcpserver 2001:db8::1\r\n"
      "ipv6 dhcp snooping database write-delay 300\r\n");
}

TEST_F(SnoopingLinesTest, ArpCheckingAsksForTheClientsOnceItsPortIsMarked) {
  Ipv4::know(false);
  fake::device().take_neighbour_calls();
  type({"configure", "interface gigabitethernet 1", "ip arp inspection"});
  EXPECT_THAT(fake::device().take_neighbour_calls(), ElementsAre(HasSubstr("check+ 02:00:00:00:00:51")));
  type({"interface gigabitethernet 2", "no ip arp inspection"});
  EXPECT_THAT(fake::device().take_neighbour_calls(), ElementsAre());
  type({"interface gigabitethernet 1", "no ip arp inspection"});
  EXPECT_THAT(fake::device().take_neighbour_calls(), ElementsAre(HasSubstr("check- 02:00:00:00:00:51")));
}

TEST_F(SnoopingLinesTest, GuardsShowTheirPortsHostsAndReasons) {
  type({"configure", "interface gigabitethernet 2", "ip verify source", "ipv6 verify source", "ip arp inspection",
        "end"});
  const KnownHost guarded{2, 0x0a000003, 10, {2, 0, 0, 0, 0, 3}, 600, 0}, elsewhere{5, 0x0a000005, 10, {}, 600, 0};
  fake().host_lists[HostList::source_guard] = {guarded, elsewhere};
  fake().host_lists[HostList::arp_check] = {{2, 0x0a000003, 0, {2, 0, 0, 0, 0, 3}, 0, 2}};
  fake().host_lists[HostList::fixed_arp] = {{2, 0x0a000004, 0, {2, 0, 0, 0, 0, 4}, 0, 2}};
  fake().host_list6 = {{2, 10, {2, 0, 0, 0, 0, 3}, {0x20, 1}, 600}, {5, 10, {}, {0x20, 2}, 600}};
  fake().guards[2].of(GuardKind::source) = fake().guards[2].of(GuardKind::source6) = {7, {1, 2, 3, 4, 0}};
  fake().guards[2].of(GuardKind::arp) = {8, {1, 2, 3, 0, 5}};
  const std::string counts = "Gi2        7       10                2          3           4          1\n";
  EXPECT_THAT(type({"show ip verify source"}),
              AllOf(HasSubstr(counts), HasSubstr("Gi2   10.0.0.3    02:00:00:00:00:03    10       600\n"),
                    Not(HasSubstr("10.0.0.5"))));
  EXPECT_THAT(type({"show ipv6 verify source"}),
              AllOf(HasSubstr(counts), HasSubstr("Gi2   2001::        02:00:00:00:00:03    10       600\n"),
                    Not(HasSubstr("2002::"))));
  EXPECT_THAT(type({"show ip arp inspection"}),
              AllOf(HasSubstr("Gi2        8       11                2          3             5          1\n"),
                    HasSubstr("checked  dhcp snooping\n"), HasSubstr("fixed    dhcp snooping\n")));
  type({"clear ip verify source statistics", "clear ip arp inspection entries"});
  EXPECT_EQ(fake().guards[2].of(GuardKind::source).passed, 0U);
  EXPECT_EQ(fake().guards[2].of(GuardKind::source6).passed + fake().guards[2].of(GuardKind::arp).passed, 15U);
  EXPECT_EQ(fake().host_lists.count(HostList::arp_check), 0U);
}

TEST_F(SnoopingLinesTest, SavedBindingsThatFillTheTableDoNotKeepTheSwitchFromStarting) {
  for (uint8_t digit = 1; digit <= 250; ++digit) {
    const uint8_t mac[6] = {2, 0, 0, 0, 0, digit};
    ASSERT_NE(find_MacBindStruct(mac, 1), nullptr);
  }
  const std::string one_more = "ip dhcp snooping binding mac 02:00:00:00:01:00 vlan 10 expiry 600";
  EXPECT_EQ(load("interface gigabitethernet 1\n" + one_more + "\n description after it"), "");
  EXPECT_EQ(fake::device().logged(
                "the binding table is full of saved bindings: static binding of 02:00:00:00:01:00 left out\n"),
            1);
  type({"configure", "interface gigabitethernet 1"});
  EXPECT_THAT(refusal(one_more), HasSubstr("the binding table is full")) << "an operator is told";
  EXPECT_EQ(fake().vlan_set.count(10), 1U) << "a static client brings its VLAN";
}

}  // namespace
}  // namespace dhcp::softswitch::cli
