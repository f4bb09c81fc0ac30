/// The DHCP server's lines: what is refused and why, what the server then holds, saving and loading.
#include "dhcp/server.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/command_line.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

class ServerLinesTest : public CliTest {
 protected:
  /// In pool 1, which has the network 10.0.0.0/24 from .10 to .99.
  void in_pool() { type({"configure", "ip dhcp pool 1", "network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.99"}); }
};

TEST_F(ServerLinesTest, WhatWouldNeverWorkIsRefusedAndChangesNothing) {
  in_pool();
  type({"default-router 10.0.0.1", "host 02:00:00:00:00:51 10.0.0.51"});
  expect_refused(
      "ip dhcp pool 1",
      {{"network 10.0.0.1 255.255.255.0 10.0.0.10 10.0.0.99", "8: not a network address under this mask"},
       {"network 10.0.0.0 255.255.255.0 10.0.1.10 10.0.0.99", "31: outside the network"},
       {"network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.1.99", "41: outside the network"},
       {"network 10.0.0.0 255.255.255.0 10.0.0.99 10.0.0.10", "41: the range ends before it begins"},
       {"lease 49710 23 59", "6: too long; type lease infinite for a lease without end"},
       {"default-router 10.0.0.2 10.0.1.1", "24: outside the pool's network 10.0.0.0"},
       {"dns-server 1.1.1.1 1.1.1.2 1.1.1.3 1.1.1.4 1.1.1.5 1.1.1.6 1.1.1.7 1.1.1.8 1.1.1.9",
        "75: at most 8 addresses"},
       {"host 02:00:00:00:00:52 10.0.0.100", "23: outside the pool's range 10.0.0.10 to 10.0.0.99"},
       {"host 02:00:00:00:00:52 10.0.0.51", "23: another host of the pool has this address"},
       {"no host 02:00:00:00:00:52",
        "8: the pool has no such host, or its address is in an excluded range, which must go first"},
       {"no option 43", "10: the pool has no such option"},
       {"ip dhcp excluded-address 10.0.0.9 10.0.0.8", "34: the range ends before it begins"},
       {"no ip dhcp excluded-address 10.0.0.9", "28: there is no excluded range with exactly this start and end"},
       {"no ip dhcp pool 9", "16: there is no such pool"}});
}

TEST_F(ServerLinesTest, EveryListHasItsLimit) {
  in_pool();
  const auto number = [](int n) { return std::to_string(n); };
  for (int n = 0; n < DHCPS_MAX_HOSTS; ++n) type({"host 02:00:00:00:00:1" + number(n) + " 10.0.0.2" + number(n)});
  EXPECT_EQ(refusal("host 02:00:00:00:00:20 10.0.0.50"), "5: the pool has 10 hosts, no more fit");
  type({"dns-server 1.1.1.1 1.1.1.2 1.1.1.3 1.1.1.4 1.1.1.5 1.1.1.6 1.1.1.7 1.1.1.8"});
  for (int n = 2; n <= DHCPS_MAX_POOLS; ++n) type({"ip dhcp pool " + number(n)});
  EXPECT_EQ(refusal("ip dhcp pool 11"), "13: there are 10 pools, no more fit");
  type({"ip dhcp pool 10"});  // one that exists is no new one
}

TEST_F(ServerLinesTest, AnotherOperatorMayRemoveThePool) {
  in_pool();
  Session other;
  for (const char* line : {"configure", "no ip dhcp pool 1"}) ASSERT_TRUE(other.run(line).accepted);
  for (const char* line : {"lease 1", "network 10.0.0.0 255.0.0.0 10.0.0.1 10.0.0.2", "option 43 hex 01",
                           "no option 43", "default-router 10.0.0.1", "dns-server 10.0.0.1", "domain-name x",
                           "host 02:00:00:00:00:51 10.0.0.51", "no host 02:00:00:00:00:51"}) {
    EXPECT_EQ(refusal(line), "the pool does not exist any more") << line;
  }
}

/// Addresses of routers and DNS servers keep their order.
TEST_F(ServerLinesTest, WhatIsSavedLoadsAgain) {
  expect_loads_again(
      "hostname core-1\r\n"
      "vlan 7,20-22,30\r\n"
      "mac address-table aging-time 60\r\n"
      "interface gigabitethernet 3\r\n"
      "device veth3\r\n"
      "switchport trunk allowed vlan all\r\n"
      "switchport trunk native vlan 5\r\n"
      "interface gigabitethernet 4\r\n"
      "description x  y\r\n"
      "switchport access vlan 7\r\n"
      "interface vlan 20\r\n"
      "ip address 10.0.0.1 255.255.255.0\r\n"
      "ip gateway 10.0.0.254\r\n"
      "ipv6 address 2001:db8::1/64\r\n"
      "ipv6 gateway 2001:db8::fe\r\n"
      "ip dhcp-server\r\n"
      "ip dhcp pool 1\r\n"
      "network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.99\r\n"
      "lease 1 1 1\r\n"
      "domain-name two words\r\n"
      "server-name tftp\r\n"
      "boot-file-name a b\r\n"
      "boot-file-size 0\r\n"
      "option 43 hex 0104c0a80a01\r\n"
      "option 42 ip 192.0.2.1\r\n"
      "option 100 ascii x y\r\n"
      "host 02:00:00:00:00:51 10.0.0.51\r\n"
      "host 02:00:00:00:00:52 10.0.0.52\r\n"
      "default-router 10.0.0.1 10.0.0.2 10.0.0.3\r\n"
      "dns-server 192.0.2.2 192.0.2.1\r\n"
      "exit\r\n"
      "ip dhcp pool 2\r\n"
      "lease infinite\r\n"
      "exit\r\n"
      "ip dhcp pool 3\r\n"
      "exit\r\n"
      "ip dhcp excluded-address 10.0.0.20\r\n"
      "ip dhcp excluded-address 10.0.0.30 10.0.0.39\r\n");
}

TEST_F(ServerLinesTest, TheFirstRefusedLineStopsTheLoad) {
  EXPECT_EQ(load("vlan 5\r\n!\r\n\r\n  vlan 5000\r\nvlan 6\r\n"),
            "4: a VLAN identifier must be a number from 1 to 4094\n  vlan 5000\n       ^\n");
  EXPECT_EQ(fake().vlan_set, (std::set<uint16_t>{1, 5}));
  fake().refusal = "the switch is full";
  EXPECT_EQ(load("vlan 7"), "1: the switch is full\nvlan 7\n     ^\n");
  EXPECT_THAT(load("interface vlan 1\nip address"), HasSubstr("2: the command is not complete; expected: ADDRESS"));
  std::string error;
  EXPECT_FALSE(load_configuration(directory + "/none.conf", error));
  EXPECT_THAT(error, HasSubstr("No such file or directory"));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
