/// The committed reference of commands: it is the table's, and its lines work.
#include "softswitch/cli/reference.h"

#include <sstream>

#include "softswitch/cli/running_config.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

class ReferenceTest : public CliTest {
 protected:
  const std::string committed = read_file(std::string(SOURCE_DIRECTORY) + "/docs/commands.md").value_or("");
};

TEST_F(ReferenceTest, IsWhatTheTableSays) {
  EXPECT_TRUE(committed == command_reference()) << "make it anew: softswitch --print-commands > docs/commands.md";
}

TEST_F(ReferenceTest, EveryLineIsAcceptedAndTakenBackByItsNoForm) {
  std::istringstream in(committed);
  bool fenced = false;
  size_t typed = 0;
  for (std::string line; std::getline(in, line);) {
    if (line == "```") {
      fenced = !fenced;
    } else if (fenced) {
      type({line});
      ++typed;
    }
  }
  EXPECT_GT(typed, 2 * commands().size() / 2);
  EXPECT_FALSE(fenced);
  EXPECT_THAT(
      running(),
      testing::Not(testing::ContainsRegex(
          "\n *(ip dhcp (snooping|information)|ipv6 dhcp (snooping|relay)|ipv?6? verify|ip arp|device|description|"
          "switchport|option 1)")));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
