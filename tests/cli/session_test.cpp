/// Moving between modes, `do`, comments, filters, and what the switch's own lines do.
#include "tests/cli/bench.h"

#include <fstream>

#include "softswitch/cli/pipe_filter.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/settings.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class SessionTest : public CliTest {};

TEST_F(SessionTest, ModesAreEnteredAndLeft) {
  type({"configure terminal", "interface gigabitethernet 3"});
  EXPECT_EQ(session.mode_text(), "config-if");
  type({"ip dhcp pool 7"});  // no exit needed between blocks
  EXPECT_EQ(session.mode_text(), "config-dhcp");
  type({"hostname lab"});
  EXPECT_EQ(session.mode_text(), "config");
  type({"interface vlan 5", "exit"});
  EXPECT_EQ(session.mode_text(), "config");
  type({"interface vlan 5", "end"});
  EXPECT_EQ(session.mode_text(), "");
  type({"exit"});
  EXPECT_TRUE(session.ended());
}

TEST_F(SessionTest, TheFaultFurtherRightExplainsALineOfNeitherMode) {
  type({"configure", "ip dhcp pool 1"});
  EXPECT_THAT(refusal("ip dhcp pool x"), HasSubstr("13: the pool number"));
  EXPECT_THAT(refusal("lease x"), HasSubstr("6: the days"));
  EXPECT_EQ(session.mode_text(), "config-dhcp");
}

TEST_F(SessionTest, DoRunsExecLinesAndKeepsTheMode) {
  type({"configure", "interface gigabitethernet 3"});
  EXPECT_THAT(type({"do show version"}), HasSubstr("02:00:00:00:00:01"));
  EXPECT_EQ(type({"do sh ver | count MAC"}), "1 lines\n");
  type({"do configure terminal", "do exit"});
  EXPECT_EQ(session.mode_text(), "config-if");
  EXPECT_FALSE(session.ended());
  EXPECT_EQ(refusal("do show ip nonsense"), "11: \"nonsense\" is not known here");
}

TEST_F(SessionTest, FiltersWorkOnShowLinesOnly) {
  const std::string text = "alpha\nbeta\ngamma\nbeta two\n";
  const struct {
    const char *filter, *result;
  } rows[] = {
      {"include beta", "beta\nbeta two\n"},
      {"exc beta", "alpha\ngamma\n"},
      {"begin gam", "gamma\nbeta two\n"},
      {"count beta", "2 lines\n"},
      {"count", "4 lines\n"},
      {"i eta t", "beta two\n"},
      {"include zzz", ""},
  };
  for (const auto& row : rows) {
    Filter filter;
    const std::string line = std::string("show x |") + row.filter;
    EXPECT_FALSE(parse_filter(split_pipe(line), filter)) << row.filter;
    EXPECT_EQ(apply_filter(filter, text), row.result) << row.filter;
  }
  EXPECT_EQ(refusal("show vlan | grep 1"), "12: \"grep\" is not a filter: include, exclude, begin or count");
  EXPECT_EQ(refusal("show vlan | include"), "20: the text to look for is missing");
  type({"configure", "interface gigabitethernet 1", "description a | include b"});
  EXPECT_EQ(fake().port(1).config.description, "a | include b");
}

TEST_F(SessionTest, AddressesThatNoStationCanHaveAreRefused) {
  type({"configure", "interface vlan 10"});
  EXPECT_THAT(refusal("ip address 10.0.0.0 255.255.255.0"), HasSubstr("11: this is the network's own"));
  EXPECT_THAT(refusal("ip address 10.0.0.255 255.255.255.0"), HasSubstr("11: this is the network's own"));
  EXPECT_THAT(refusal("ip address 224.0.0.1 255.255.255.0"), HasSubstr("11: not the address of one station"));
  type({"ip address 10.0.0.0 255.255.255.254"});  // a point-to-point link has no network address
}

TEST_F(SessionTest, TheSwitchsOwnReasonIsShownUnderTheWord) {
  type({"configure", "interface gigabitethernet 3"});
  fake().refusal = "no interface is called veth9";
  EXPECT_EQ(refusal("device veth9"), "7: no interface is called veth9");
}

TEST_F(SessionTest, WriteMemoryReplacesTheFileInOneStep) {
  const std::string path = startup_path();
  std::ofstream(path) << "old\n";
  const std::ifstream held_open(path);
  EXPECT_EQ(type({"write memory"}), "Saved to " + path + "\n");
  EXPECT_EQ(type({"show startup-config"}), type({"show running-config"}));
  std::stringstream still;
  still << held_open.rdbuf();
  EXPECT_EQ(still.str(), "old\n");  // who reads the old file goes on reading it
  set_startup_path(directory + "/missing/startup.conf");
  EXPECT_THAT(refusal("write memory"), HasSubstr("No such file or directory"));
  EXPECT_THAT(refusal("show startup-config"), HasSubstr("nothing has been saved yet"));
}

TEST_F(SessionTest, TechSupportHoldsEveryReadoutThatTakesNoValue) {
  type({"configure", "interface gigabitethernet 3", "device veth3", "end"});
  const std::string all = type({"show tech-support"});
  for (const char* line :
       {"show vlan", "show running-config", "show ip dhcp binding", "show ipv6 dhcp relay statistics", "show logging",
        "show monitor capture", "show tasks", "show interfaces gigabitethernet 3"}) {
    const std::string shown = type({line});
    EXPECT_THAT(all, HasSubstr(std::string(" ") + line + " ------------------\n\n" + shown)) << line;
  }
  EXPECT_THAT(all, HasSubstr("show startup-config ------------------\n\nnothing has been saved yet\n"));
  EXPECT_THAT(all, Not(HasSubstr("show tech-support")));
  EXPECT_THAT(all, Not(HasSubstr("gigabitethernet 4 --")));
}

TEST_F(SessionTest, TablesFitTheirContent) {
  fake().macs = {{10, {2, 0, 0, 0, 0, 0x51}, 3, 12}, {4094, {2, 0, 0, 0, 0, 0x52}, 10, 299}};
  EXPECT_EQ(type({"show mac address-table"}),
            "VLAN  MAC address        Port  Age, s\n"
            "----  -----------------  ----  ------\n"
            "  10  02:00:00:00:00:51  Gi3       12\n"
            "4094  02:00:00:00:00:52  Gi10     299\n"
            "2 addresses, forgotten after 300 s\n");
  type({"configure", "interface gigabitethernet 2", "switchport trunk allowed vlan 5,7", "end"});
  EXPECT_EQ(type({"show vlan | exclude -"}), "VLAN  Access ports  Trunk ports\n");
  EXPECT_THAT(type({"show vlan"}), HasSubstr("   1  1,3-10        -\n   5  -             2\n   7  -             2\n"));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
