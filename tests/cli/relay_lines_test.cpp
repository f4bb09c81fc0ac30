/// The IPv4 relay at the command line: what is refused and why, what the module then holds, saving and loading.
#include "dhcp/relay.h"

#include "platform/adp.h"
#include "tests/cli/bench.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using RelayLinesTest = CliTest;

TEST_F(RelayLinesTest, WhatWouldNotWorkIsRefusedAndChangesNothing) {
  fake::device().missing_vlans = {99};
  const struct {
    std::vector<const char*> before;
    const char *line, *fault;
  } rows[] = {
      {{}, "ip helper-address 192.0.2.1", "helper addresses need service dhcp-relay management-vlan"},
      {{}, "no ip helper-address 192.0.2.1", "helper addresses need service dhcp-relay management-vlan"},
      {{}, "ip helper-address 0.0.0.0", "18: not the address of a server"},
      {{}, "ip helper-address 224.0.0.1", "18: not the address of a server"},
      {{"ip dhcp-server"}, "service dhcp-relay", "the DHCP server is on; relay and server exclude each other"},
      {{}, "ip dhcp relay route-port 11", "25: the port number must be a number from 1 to 10"},
      {{}, "ip dhcp relay route-vlan 2 99", "27: there is no VLAN 99"},
      {{}, "ip dhcp relay route-vlan 2", "tag mode 2 needs a VLAN"},
      {{"vlan 20", "ip dhcp relay route-vlan 2 20"}, "no vlan 20", "8: the DHCP relay tags requests with VLAN 20"},
      {{"service dhcp-relay management-vlan", "ip helper-address 192.0.2.1"},
       "ip helper-address 192.0.2.1",
       "18: this helper is on the list already, and does not answer now"},
      {{"service dhcp-relay management-vlan"}, "no ip helper-address 192.0.2.1", "21: this helper is not on the list"},
      {{"service dhcp-relay management-vlan"},
       "ip dhcp relay route-port 3",
       "management-VLAN mode has no route port; type no service dhcp-relay first"},
      {{"service dhcp-relay"}, "ip dhcp-server", "the DHCP relay is on; relay and server exclude each other"},
  };
  for (const auto& row : rows) {
    wipe();
    fake::device().missing_vlans = {99};
    type({"configure"});
    for (const char* line : row.before) type({line});
    const std::string before = running();
    EXPECT_EQ(refusal(row.line), row.fault) << row.line;
    EXPECT_EQ(running(), before) << row.line;
  }
  wipe();
  type({"configure", "service dhcp-relay management-vlan"});
  for (int n = 1; n <= DHCPR_MAX_HELPERS; ++n) type({"ip helper-address 192.0.2." + std::to_string(n)});
  EXPECT_EQ(refusal("ip helper-address 192.0.2.11"), "18: there are 10 helper addresses, no more fit");
  type({"no ip helper-address 192.0.2.5", "ip helper-address 192.0.2.11"});
}

TEST_F(RelayLinesTest, WhatIsSavedLoadsAgainInEveryMode) {
  const char* const configurations[] = {
      "ip dhcp relay route-port 3\nno ip dhcp relay information trust\nservice dhcp-relay management-vlan\n"
      "ip helper-address 192.0.2.1\nip helper-address 192.0.2.2\n",
      "service dhcp-relay management-vlan\nip helper-address 192.0.2.1\nservice dhcp-relay\nip dhcp relay route-port "
      "5\n",
      "service dhcp-relay management-vlan\nip helper-address 192.0.2.1\nno service dhcp-relay\n",
      "vlan 20\nno ip dhcp relay information option\nip dhcp relay route-vlan 2 20\nservice dhcp-relay\n",
  };
  for (const char* const lines : configurations) {
    wipe();
    ASSERT_EQ(load(lines), "");
    const std::string saved = running();
    const int port = dhcpr_cfg.route_port.load(), tag = dhcpr_cfg.tag_mode.load();
    wipe();
    ASSERT_EQ(load(saved), "") << saved;
    EXPECT_EQ(running(), saved);
    EXPECT_EQ(dhcpr_cfg.route_port.load(), port) << saved;
    EXPECT_EQ(dhcpr_cfg.tag_mode.load(), tag) << saved;
  }
}

TEST_F(RelayLinesTest, AFileMayListAHelperTwiceButNotEleven) {
  std::string lines = "service dhcp-relay management-vlan\nip helper-address 192.0.2.1\n";
  for (int n = 1; n <= DHCPR_MAX_HELPERS; ++n) lines += "ip helper-address 192.0.2." + std::to_string(n) + "\n";
  ASSERT_EQ(load(lines), "");
  EXPECT_EQ(dhcpr_cfg.server_count, DHCPR_MAX_HELPERS);
  EXPECT_THAT(load("ip helper-address 192.0.2.11\n"), HasSubstr("there are 10 helper addresses, no more fit"));
}

TEST_F(RelayLinesTest, ShowsHelpersAndTheirState) {
  type({"configure", "service dhcp-relay management-vlan", "ip helper-address 192.0.2.1", "end"});
  const uint8_t mac[6] = {2, 0, 0, 0, 0, 9};
  int error = 0;
  ASSERT_NE(DHCPR_find_dhcp_serverip(0xc0000202, 1, mac, 20, &error), nullptr);
  fake::device().now += 42;
  EXPECT_THAT(type({"show ip helper-address"}),
              AllOf(HasSubstr("192.0.2.1  -                     -  probing       -         0        0\n"),
                    HasSubstr("192.0.2.2  02:00:00:00:00:09    20  valid        42         0        0\n")));
  EXPECT_THAT(type({"show ip dhcp relay"}), AllOf(HasSubstr("DHCP relay status"), HasSubstr("192.0.2.2")));
  skpack headerless{};
  dhcpr_packet_process(&headerless);
  const std::string counted = type({"show ip dhcp relay statistics"});
  type({"clear ip dhcp relay statistics"});
  EXPECT_NE(type({"show ip dhcp relay statistics"}), counted);
}

}  // namespace
}  // namespace dhcp::softswitch::cli
