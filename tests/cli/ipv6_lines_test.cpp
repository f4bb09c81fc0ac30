/// The DHCPv6 services' lines: what is refused and why, what the services then hold, saving and loading.
#include "dhcp/client6.h"
#include "dhcp/relay6.h"
#include "dhcp/server6.h"
#include "softswitch/command_line.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

class Ipv6LinesTest : public CliTest {
 protected:
  void in_pool() { type({"configure", "ipv6 dhcp pool 1", "network-address 2001:db8:10:: 64"}); }
};

TEST_F(Ipv6LinesTest, WhatWouldNeverWorkIsRefusedAndChangesNothing) {
  in_pool();
  type({"static-binding 02:00:00:00:00:51 2001:db8:10::51", "lifetime 100 200"});
  expect_refused("ipv6 dhcp pool 1",
                 {{"network-address 2001:db8:10::9 2001:db8:10::8", "31: the range ends before it begins"},
                  {"network-address 2001:db8:10:: 129", "30: the prefix length must be a number from 1 to 128"},
                  {"network-address ff02::zz 64", "16: not an IPv6 address"},
                  {"lifetime 200 100", "9: an address cannot be preferred for longer than it is valid"},
                  {"lifetime 0 100", "9: a lifetime must be a number from 1 to 4294967294"},
                  {"excluded-address 10.0.0.1", "17: not an IPv6 address"},
                  {"no excluded-address 2001:db8:10::9", "20: the pool does not exclude this address"},
                  {"static-binding 02:00:00:00:00:52 2001:db8:10::51",
                   "33: outside the pool, or another host of the pool has this address"},
                  {"no static-binding 02:00:00:00:00:52", "18: the pool has no such host"},
                  {"no dns-server 2001:db8::53", "14: the pool has no such DNS server"},
                  {"no domain-name x", "15: the pool has no such domain name"},
                  {"no ipv6 dhcp pool 9", "18: there is no such pool"},
                  {"no ipv6 dhcp relay destination 2001:db8::1", "31: this destination is not on the list"}});
  type({"no ipv6 dhcp pool 1", "ipv6 dhcp pool 1"});
  Session other;
  for (const char* line : {"configure", "no ipv6 dhcp pool 1"}) ASSERT_TRUE(other.run(line).accepted);
  for (const char* line : {"lifetime 1 2", "dns-server 2001:db8::53", "domain-name x", "no network-address"})
    EXPECT_EQ(refusal(line), "the pool does not exist any more") << line;
}

TEST_F(Ipv6LinesTest, EveryListHasItsLimit) {
  in_pool();
  const auto number = [](int n) { return std::to_string(n); };
  for (int n = 1; n <= 3; ++n) type({"dns-server 2001:db8::" + number(n), "domain-name d" + number(n)});
  EXPECT_EQ(refusal("dns-server 2001:db8::4"), "11: the pool has 3 DNS servers, no more fit");
  type({"dns-server 2001:db8::3"});  // one that is there is no new one
  EXPECT_EQ(refusal("domain-name d4"), "12: the pool has 3 domain names, no more fit");
  for (int n = 10; n < 20; ++n) {
    type({"excluded-address 2001:db8:10::" + number(n)});
    type({"static-binding 02:00:00:00:00:" + number(n) + " 2001:db8:10::1" + number(n)});
  }
  EXPECT_EQ(refusal("excluded-address 2001:db8:10::9"), "17: the pool has 10 excluded addresses, no more fit");
  EXPECT_EQ(refusal("static-binding 02:00:00:00:00:99 2001:db8:10::9"),
            "15: the pool has 10 static bindings, no more fit");
  for (int n = 2; n <= DHCP6S_MAX_POOLS; ++n) type({"ipv6 dhcp pool " + number(n)});
  EXPECT_EQ(refusal("ipv6 dhcp pool 11"), "15: there are 10 pools, no more fit");
}

TEST_F(Ipv6LinesTest, RelayAndServerExcludeEachOther) {
  type({"configure", "service dhcpv6-server"});
  EXPECT_EQ(refusal("service dhcpv6-relay"), "the DHCPv6 server is on; relay and server exclude each other");
  type({"no service dhcpv6-server", "service dhcpv6-relay"});
  EXPECT_EQ(refusal("service dhcpv6-server"), "the DHCPv6 relay is on; relay and server exclude each other");
}

TEST_F(Ipv6LinesTest, OwnAddressIsConfiguredOrLeased) {
  type({"configure", "interface vlan 10", "ipv6 address 2001:db8::1/64", "ipv6 address dhcp"});
  EXPECT_EQ(fake().interfaces[10].ip6, "");
  EXPECT_THAT(running(), HasSubstr("interface vlan 10\n ipv6 address dhcp\n!"));
  EXPECT_THAT(type({"do show ip interface"}), HasSubstr("DHCPv6"));
  EXPECT_THAT(type({"do show ipv6 dhcp interface"}), HasSubstr("vlan 10 is init"));
  type({"do renew ipv6 dhcp interface vlan 10", "ipv6 address 2001:db8::1/64"});
  EXPECT_EQ(refusal("do renew ipv6 dhcp interface vlan 10"), "34: this interface does not get its address by DHCPv6");
  EXPECT_THAT(running(), Not(HasSubstr("address dhcp")));
  type({"ipv6 address dhcp", "no interface vlan 10"});
  EXPECT_EQ(dhcp6c_get_interfaces(nullptr, 0), 0);
}

TEST_F(Ipv6LinesTest, WhatIsSavedLoadsAgain) {
  expect_loads_again(
      "hostname core-1\r\n"
      "interface vlan 20\r\n"
      "ipv6 address dhcp\r\n"
      "service dhcpv6-relay\r\n"
      "ipv6 dhcp relay destination 2001:db8:99::1\r\n"
      "ipv6 dhcp relay destination 2001:db8:99::2 interface gigabitethernet 2\r\n"
      "ipv6 dhcp pool 1\r\n"
      "network-address 2001:db8:10:: 64\r\n"
      "lifetime 100 infinity\r\n"
      "domain-name two words\r\n"
      "domain-name lab.example\r\n"
      "dns-server 2001:db8::53\r\n"
      "dns-server 2001:db8::54\r\n"
      "excluded-address 2001:db8:10::1\r\n"
      "static-binding 02:00:00:00:00:51 2001:db8:10::51\r\n"
      "exit\r\n"
      "ipv6 dhcp pool 2\r\n"
      "network-address 2001:db8:20::10 2001:db8:20::20\r\n"
      "lifetime infinity infinity\r\n"
      "exit\r\n");
  EXPECT_THAT(type({"show ipv6 dhcp relay destination"}), HasSubstr("2001:db8:99::2"));
  EXPECT_THAT(type({"show ipv6 dhcp server"}), HasSubstr("2001:db8:10::"));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
