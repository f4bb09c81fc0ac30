/// What goes into the log from the command line, and where it goes.
#include "softswitch/log.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

class LogLinesTest : public CliTest {
 protected:
  LogLinesTest() { clear_log_lines(); }
};

TEST_F(LogLinesTest, AcceptedSettingsAreLoggedAndNothingElse) {
  ASSERT_EQ(load("vlan 7\n"), "");
  type({"show vlan", "configure", "vlan 8", "do show version", "interface gigabitethernet 3"});
  refusal("switchport access vlan 9999");
  type({"no switchport access vlan", "end"});
  std::string said;
  for (const std::string& line : log_lines()) said += line.substr(line.find('<')) + "\n";
  EXPECT_EQ(said,
            "<5> switch: configured: vlan 8\n"
            "<5> switch: configured: interface gigabitethernet 3\n"
            "<5> switch: configured: no switchport access vlan\n");
  EXPECT_THAT(type({"show logging"}), HasSubstr("<5> switch: configured: vlan 8\n"));
}

TEST_F(LogLinesTest, EveryPlaceHasItsSeverityAndLinesThatNobodyWantsAreNotMade) {
  type({"configure", "logging buffered warnings"});
  EXPECT_FALSE(log_wants(5));
  log_line(4, "kept");
  log_line(5, "not kept");
  EXPECT_THAT(type({"do show logging"}), testing::AllOf(HasSubstr("<4> switch: kept"), Not(HasSubstr("not kept"))));
  type({"logging syslog 7"});
  EXPECT_TRUE(log_wants(7));
  expect_refused("hostname switch",
                 {{"logging console e", "16: not a severity: 0 to 7, emergencies to debugging, or off"},
                  {"logging console -1", "16: not a severity: 0 to 7, emergencies to debugging, or off"}});
  type({"logging syslog errors", "logging buffered off"});
  const std::string saved = running();
  EXPECT_THAT(saved, HasSubstr("\nlogging syslog errors\nlogging buffered off\n!"));
  type({"no logging syslog", "no logging buffered"});
  EXPECT_THAT(running(), Not(HasSubstr("logging")));
  ASSERT_EQ(load(saved), "");
  EXPECT_EQ(running(), saved);
  type({"no logging syslog", "no logging buffered"});
}

}  // namespace
}  // namespace dhcp::softswitch::cli
