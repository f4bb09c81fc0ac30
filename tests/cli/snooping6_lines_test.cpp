/// DHCPv6 snooping at the command line, where it is not IPv4's: its own lines, saving and loading, source guard.
#include <algorithm>
#include <filesystem>

#include "softswitch/cli/running_config.h"
#include "softswitch/cli/snooping_family.h"
#include "tests/cli/bench.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Snooping6LinesTest : public CliTest {
 protected:
  static constexpr uint8_t mac[6] = {2, 0, 0, 0, 0, 0x51};

  /// One client, bound behind port 1 in VLAN 10 to 2001:db8::51.
  static void bind(int is_static = 0) {
    MacBind6Struct* const binding = find_MacBind6Struct(mac, 1);
    *binding->ip6 = 0x20, binding->ip6[1] = 0x01, binding->ip6[2] = 0x0d, binding->ip6[3] = 0xb8;
    binding->ip6[15] = 0x51;
    binding->intf = 1, binding->vlan = 10, binding->lease = 600, binding->state = 1, binding->is_static = is_static;
    binding->time = static_cast<int32_t>(fake::device().now.load());
    insert_VlanIp6_table(binding);
  }
  static bool known() { return !all_bindings<Snooping6>().empty(); }
};

TEST_F(Snooping6LinesTest, WhatWouldNeverWorkIsRefusedAndChangesNothing) {
  type({"configure", "vlan 10", "ipv6 dhcp snooping vlan 10", "ipv6 dhcp snooping dhcpserver fe80::1"});
  bind();
  const std::string before = running();
  const struct {
    const char *line, *fault;
  } rows[] = {
      {"ipv6 dhcp snooping vlan 10,11", "24: there is no VLAN 11"},
      {"no vlan 10", "8: DHCPv6 snooping is on in VLAN 10"},
      {"ipv6 dhcp snooping dhcpserver ::", "30: not the address of a server"},
      {"ipv6 dhcp snooping dhcpserver ff02::1:2", "30: not the address of a server"},
      {"ipv6 dhcp snooping dhcpserver fe80::1/64", "30: not an IPv6 address"},
      {"no ipv6 dhcp snooping dhcpserver fe80::2", "33: this server is not on the list"},
      {"no ipv6 dhcp snooping binding mac 02:00:00:00:00:52", "34: this port has no binding of that address"},
      {"no ipv6 dhcp snooping binding mac 02:00:00:00:00:51",
       "34: this binding was learnt; clear ipv6 dhcp snooping binding removes it"},
  };
  for (const auto& row : rows) {
    type({"interface gigabitethernet 1"});
    EXPECT_EQ(refusal(row.line), row.fault) << row.line;
  }
  EXPECT_EQ(running(), before);
  for (int n = 2; n <= 40; ++n) type({format("ipv6 dhcp snooping dhcpserver 2001:db8::%x", n)});
  EXPECT_EQ(g_dhcp6_snooping.server_count, 40) << "as many as one likes";
}

/// Servers are walked newest first, so each load turns them round.
TEST_F(Snooping6LinesTest, WhatIsSavedLoadsAgain) {
  const std::string lines[] = {
      "interface gigabitethernet 2\n ipv6 verify source\n",
      "ipv6 dhcp snooping\n",
      "ipv6 dhcp snooping vlan 5-7,10\n",
      "interface gigabitethernet  1\nipv6 dhcp snooping trust\nexit\n",
      "interface gigabitethernet  3\nipv6 dhcp snooping trust\nipv6 dhcp snooping suppression\nexit\n",
      "interface gigabitethernet  2\nipv6 dhcp snooping binding mac 02:00:00:00:00:52 vlan 99 expiry -1\nexit\n",
      "ipv6 dhcp snooping dhcpserver fe80::1\n",
      "ipv6 dhcp snooping dhcpserver 2001:db8::1\n",
      "ipv6 dhcp snooping database write-delay 300\n",
  };
  std::string typed = "vlan 5-7,10\n";
  for (const std::string& line : lines) typed += line;
  ASSERT_EQ(load(typed), "");
  const std::string first = running();
  for (const std::string& line : lines) EXPECT_THAT(first, HasSubstr(line));
  EXPECT_THAT(first, HasSubstr("vlan 5-7,10,99\n")) << "the static client's own";
  for (int round = 0; round < 2; ++round) {
    const std::string saved = running();
    wipe();
    ASSERT_EQ(load(saved), "");
  }
  EXPECT_EQ(running(), first);

  type({"configure", "no ipv6 dhcp snooping", "no ipv6 dhcp snooping vlan 5-7,10",
        "no ipv6 dhcp snooping dhcpserver fe80::1", "no ipv6 dhcp snooping dhcpserver 2001:db8::1",
        "no ipv6 dhcp snooping database write-delay", "interface gigabitethernet 1", "no ipv6 dhcp snooping trust",
        "interface gigabitethernet 3", "no ipv6 dhcp snooping trust", "no ipv6 dhcp snooping suppression",
        "interface gigabitethernet 2", "no ipv6 dhcp snooping binding mac 02:00:00:00:00:52 vlan 99 expiry -1",
        "no ipv6 verify source"});
  EXPECT_THAT(running(), Not(HasSubstr("ipv6")));
}

/// Every selector with the client's own keys, and with one key that is not its own.
TEST_F(Snooping6LinesTest, ClearsWhatAgreesWithEveryWordAndTellsSourceGuard) {
  const struct {
    std::string words, other;
  } keys[] = {{" ipv6 2001:db8::51", " ipv6 2001:db8::52"},
              {" mac 02:00:00:00:00:51", " mac 02:00:00:00:00:52"},
              {" vlan 10", " vlan 11"},
              {" interface gigabitethernet 1", " interface gigabitethernet 2"}};
  for (unsigned named = 0; named < 16; ++named) {
    for (unsigned wrong = 0; wrong <= 4; ++wrong) {
      if (wrong < 4 && (named >> wrong & 1) == 0) continue;
      std::string line = "clear ipv6 dhcp snooping binding";
      for (unsigned key = 0; key < 4; ++key)
        if ((named >> key & 1) != 0) line += key == wrong ? keys[key].other : keys[key].words;
      bind(1);
      const int told = fake().taken_hosts;
      type({named == 0 ? line + " *" : line});
      EXPECT_EQ(known(), wrong < 4) << line;
      EXPECT_GT(fake().taken_hosts, told);
    }
  }
  bind(1);
  type({"clear ipv6 dhcp snooping binding dynamic interface gigabitethernet 1"});
  EXPECT_TRUE(known());
}

TEST_F(Snooping6LinesTest, ShowsClientsFatesAndTheFile) {
  bind();
  fake::device().now += 100;
  EXPECT_THAT(type({"show ipv6 dhcp snooping binding"}),
              HasSubstr("02:00:00:00:00:51  2001:db8::51    10  Gi1        600      500  dynamic  bound\n1 of 1"));
  EXPECT_EQ(type({"write ipv6 dhcp snooping database"}), "1 bindings saved to " + database() + "6\n");
  EXPECT_THAT(type({"show ipv6 dhcp snooping database"}), HasSubstr("Bindings written       1\n"));
  EXPECT_THAT(type({"show ipv6 dhcp snooping"}),
              AllOf(HasSubstr("DHCPv6 snooping status :         disable"), HasSubstr("stopped by chip : 1102\n")));
  skpack headerless{};
  dhcp6_packet_snooping_process(&headerless);
  EXPECT_THAT(type({"show ipv6 dhcp snooping statistics"}),
              AllOf(HasSubstr("Port  Fate       other\n"), HasSubstr("malformed      1")));
  type({"clear ipv6 dhcp snooping statistics"});
  EXPECT_THAT(type({"show ipv6 dhcp snooping statistics"}), Not(HasSubstr("malformed")));
}

TEST_F(Snooping6LinesTest, SourceGuardShowsItsPortsHostsAndReasons) {
  type({"configure", "interface gigabitethernet 2", "ipv6 verify source", "end"});
  fake().host_list6 = {{2, 10, {2, 0, 0, 0, 0, 3}, {0x20, 1}, 600}, {5, 10, {}, {0x20, 2}, 600}};
  fake().guards[2].of(GuardKind::source6) = {7, {1, 2, 3, 4, 0}};
  EXPECT_THAT(type({"show ipv6 verify source"}),
              AllOf(HasSubstr("Gi2        7       10                2          3           4          1\n"),
                    HasSubstr("Gi2   2001::        02:00:00:00:00:03    10       600\n"), Not(HasSubstr("2002::"))));
  type({"clear ipv6 verify source statistics"});
  EXPECT_EQ(fake().guards[2].of(GuardKind::source6).passed, 0U);
}

}  // namespace
}  // namespace dhcp::softswitch::cli
