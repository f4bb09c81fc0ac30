/// The committed reference of commands: it is the table's, and its lines work. And the page that explains every reason
/// under which frames are counted.
#include "softswitch/cli/reference.h"

#include <sstream>

#include "dhcp/counters.h"

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

using Explained = std::map<std::string, std::set<std::string>>;  // by service

/// "### one and another" begins the services' table, each row of which begins with one or more reasons.
Explained explained_reasons(const std::string& page) {
  Explained found;
  std::vector<std::string> services;
  std::istringstream lines(page.substr(std::min(page.find("## Why a frame"), page.size())));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("#")) services.clear();
    if (line.starts_with("### ")) {
      std::istringstream words(line.substr(4));
      for (std::string word; words >> word;)
        if (word != "and") services.push_back(word);
    }
    if (!line.starts_with("| ") || line.starts_with("| reason |")) continue;
    std::string cell = line.substr(2, line.find(" |", 2) - 2);
    for (size_t comma; !cell.empty(); cell.erase(0, comma == std::string::npos ? comma : comma + 2)) {
      comma = cell.find(", ");
      for (const std::string& service : services) found[service].insert(cell.substr(0, comma));
    }
  }
  return found;
}

/// Both snoopings have one table, and one list of reasons.
TEST(Troubleshooting, ExplainsEveryReasonAndNoOther) {
  Explained counted;
  for (int service = 0; service < DHCP_SERVICES; ++service) {
    for (int reason = 0; std::string(dhcp_reason_name(service, reason)) != "unknown"; ++reason)
      counted[dhcp_service_name(service)].insert(dhcp_reason_name(service, reason));
  }
  EXPECT_EQ(explained_reasons(read_file(SOURCE_DIRECTORY "/docs/troubleshooting.md").value_or("")), counted);
}

}  // namespace
}  // namespace dhcp::softswitch::cli
