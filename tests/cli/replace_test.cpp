/// From one configuration to another: which lines that takes, and what a line that is refused leaves.
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;

using ReplaceTest = CliTest;

constexpr char before[] =
    "hostname switch\n"
    "vlan 10-12,20\n"
    "interface gigabitethernet 1\n"
    " switchport access vlan 10\n"
    "interface gigabitethernet 2\n"
    " switchport trunk allowed vlan 10,11\n"
    "interface vlan 10\n"
    " ip address 10.0.0.1 255.255.255.0\n"
    "interface vlan 20\n"
    " ip address 10.0.20.1 255.255.255.0\n"
    "ip dhcp pool 1\n"
    " network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.99\n"
    " dns-server 10.0.0.2\n"
    " exit\n"
    "ip dhcp pool 2\n"
    " lease 2 0\n"
    " exit\n"
    "ipv6 dhcp pool 1\n"
    " dns-server 2001:db8::1\n"
    " dns-server 2001:db8::2\n"
    " dns-server 2001:db8::3\n"
    " exit\n"
    "ip dhcp-server\n"
    "ip dhcp snooping vlan 10,11\n";

/// Removed first, from the end; a value that has another one's place is put there without a gap; spelling, order and
/// what goes without saying make no difference; a list that was full has room once its old members are gone.
TEST_F(ReplaceTest, OnlyWhatDiffersIsTyped) {
  ASSERT_EQ(load(before), "");
  EXPECT_EQ(replace(before), "The configuration is that already\n");
  EXPECT_EQ(replace("hostname switch\n"
                    "vlan 10,11\nvlan 13\n"
                    "interface gigabitethernet 1\n"
                    "  switchport access vlan 13\n"
                    "inter gig 2\n"
                    "  switchport trunk allowed vlan 10-11\n"
                    "interface vlan 10\n"
                    " ip address 10.0.0.2 255.255.255.0\n"
                    "ip dhcp-server\r\n"
                    "ip dhcp pool 1\n"
                    " dns-server 10.0.0.2\n"
                    " network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.99\n"
                    "ip dhcp snooping vlan 11,13\n"
                    "ipv6 dhcp pool 1\n"
                    " dns-server 2001:DB8::2\n"
                    " dns-server 2001:db8::4\n"
                    "end\n"
                    "nonsense behind the end\n"),
            "no ip dhcp snooping vlan 10\n"
            "no ip dhcp pool 2\n"
            "no interface vlan 20\n"
            "no vlan 20\n"
            "no vlan 12\n"
            "vlan 13\n"
            "interface gigabitethernet 1\n"
            " switchport access vlan 13\n"
            "interface vlan 10\n"
            " ip address 10.0.0.2 255.255.255.0\n"
            "ip dhcp snooping vlan 13\n"
            "ipv6 dhcp pool 1\n"
            " no dns-server 2001:db8::3\n"
            " no dns-server 2001:db8::1\n"
            " dns-server 2001:db8::4\n");
}

TEST_F(ReplaceTest, AFileThatIsRefusedChangesNothing) {
  ASSERT_EQ(load(before), "");
  const std::string was = running();
  for (const auto& [text, fault] : std::vector<std::pair<std::string, std::string>>{
           {"vlan 10\n\nvlan 5000\n", ":3: a VLAN identifier must be a number from 1 to 4094"},
           {"vlan 10\ndo show vlan\n", ":2: this is no setting"},
           {"interface vlan 10\n switchport access vlan 10\n", ":2: \"switchport\" is not known here"},
           {"vlan 10,30\nip dhcp pool 1\n network 10.0.0.0 255.255.255.0 10.0.0.99 10.0.0.10\n",
            ": network 10.0.0.0 255.255.255.0 10.0.0.99 10.0.0.10: the range ends before it begins; all is as it "
            "was"}}) {
    const std::string path = written(text);
    EXPECT_THAT(refusal("configure replace " + path), HasSubstr(path + fault)) << text;
    EXPECT_EQ(running(), was) << text;
  }
  EXPECT_EQ(refusal("configure replace next.conf"), "18: write the whole path of the file, from /");
  EXPECT_THAT(refusal("configure replace " + directory + "/none"), HasSubstr("No such file"));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
