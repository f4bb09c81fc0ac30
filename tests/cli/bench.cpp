#include "tests/cli/bench.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "platform/text.h"
#include "softswitch/cli/settings.h"
#include "softswitch/command_line.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch {
namespace {

cli::FakeSwitch& the_fake() {
  static cli::FakeSwitch fake;
  return fake;
}

/// Its switches outlive init_DHCPR_cfg().
void reset_relay() {
  DHCPR_stop();
  DHCPR_set_trust(1);
  DHCPR_set_dhcp_option82_switch(1);
  DHCPR_set_route_port(24);
  DHCPR_set_route_vlan(0, 0);
  dhcp_relay_clear_counters();
  init_DHCPR_cfg();
}

}  // namespace

SwitchControl& switch_control() { return the_fake(); }

namespace cli {

CliTest::CliTest() : directory(testing::TempDir() + "cli_" + std::to_string(getpid())) {
  std::filesystem::create_directories(directory);
  set_startup_path(directory + "/startup.conf");
  dhcp_snoop_set_database_path(database().c_str(), (database() + ".new").c_str());
  dhcp6_snoop_set_database_path((database() + "6").c_str(), (database() + "6.new").c_str());
  wipe();
}

CliTest::~CliTest() {
  wipe();
  exit_DHCPR_cfg();
  exit_dhcp_snooping();
  exit_dhcp6_snooping();
  dhcp_snoop_set_database_path(nullptr, nullptr);
  dhcp6_snoop_set_database_path(nullptr, nullptr);
  std::filesystem::remove_all(directory);
}

FakeSwitch& CliTest::fake() { return the_fake(); }

void CliTest::wipe() {
  reset_relay();
  fake::reset();
  init_DHCPS_cfg();
  init_dhcp_snooping();
  init_dhcp6_snooping();
  exit_dhcp6_relay_cfg();
  init_dhcp6_relay_cfg();
  init_DHCP6S_cfg();
  dhcp6c_init();
  the_fake() = FakeSwitch();
  set_hostname("");
  session = Session();
}

std::string CliTest::type(const std::vector<std::string>& lines) {
  std::string shown;
  for (const std::string& line : lines) {
    const Reply reply = session.run(line);
    EXPECT_TRUE(reply.accepted) << line << ": " << reply.reason;
    shown = reply.text;
  }
  return shown;
}

std::string CliTest::refusal(const std::string& line) {
  const Reply reply = session.run(line);
  EXPECT_FALSE(reply.accepted) << line;
  EXPECT_EQ(reply.text, "") << line;
  return reply.column == Reply::no_column ? reply.reason : std::to_string(reply.column) + ": " + reply.reason;
}

void CliTest::expect_refused(const std::string& block, const std::vector<Refused>& rows) {
  const std::string before = running();
  for (const Refused& row : rows) {
    type({block});
    EXPECT_EQ(refusal(row.line), row.fault) << row.line;
  }
  EXPECT_EQ(running(), before);
}

std::string CliTest::load(const std::string& text) {
  const std::string path = written(text);
  std::string error;
  if (load_configuration(path, error)) return "";
  EXPECT_TRUE(error.starts_with(path + ":")) << error;
  return error.substr(path.size() + 1);
}

void CliTest::expect_loads_again(const std::string& lines) {
  const auto lines_of = [](const std::string& text) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      line.erase(line.find_last_not_of("\r ") + 1);
      all.push_back(line.erase(0, line.find_first_not_of(' ')));
    }
    return all;
  };
  ASSERT_EQ(load(lines), "");
  const std::string first = running();
  wipe();
  const std::string bare = running();
  ASSERT_EQ(load(first), "") << first;
  const std::string second = running();
  const auto typed = lines_of(lines);
  auto saved = lines_of(second);
  std::erase_if(saved, [&](const auto& line) { return std::find(typed.begin(), typed.end(), line) == typed.end(); });
  EXPECT_EQ(saved, typed) << second;
  wipe();
  ASSERT_EQ(load(second), "") << second;
  EXPECT_EQ(running(), first);
  replace("");
  EXPECT_EQ(running(), bare);
  replace(first);
  EXPECT_THAT(lines_of(running()), testing::UnorderedElementsAreArray(lines_of(first)));
}

std::string CliTest::written(const std::string& text) const {
  const std::string path = directory + "/load.conf";
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string CliTest::replace(const std::string& text) { return type({"configure replace " + written(text)}); }

}  // namespace cli
}  // namespace dhcp::softswitch
