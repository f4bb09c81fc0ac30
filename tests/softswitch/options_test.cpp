/// The program's own command line.
#include "softswitch/options.h"

#include <getopt.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using dhcp::softswitch::about;
using dhcp::softswitch::derived_mac;
using dhcp::softswitch::read_options;

auto read(std::vector<std::string> words) {
  words.insert(words.begin(), "softswitch");
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  optind = 0;  // begin anew
  return read_options(static_cast<int>(words.size()), pointers.data());
}

/// Refused, and the operator is told how it is done.
bool refused(const std::vector<std::string>& words) {
  testing::internal::CaptureStderr();
  const bool accepted = read(words).has_value();
  return testing::internal::GetCapturedStderr().find("usage: softswitch") != std::string::npos && !accepted;
}

TEST(Options, WithoutThemASwitchIsTheDevice) {
  const auto options = read({"--config", "c", "--socket", "s"});
  ASSERT_TRUE(options);
  EXPECT_EQ(options->state, "");
  EXPECT_EQ(options->ports, 26u);
  EXPECT_EQ(options->log_level, 6);
  EXPECT_FALSE(options->foreground);
  EXPECT_FALSE(options->mac);
}

TEST(Options, WrongOnesAreRefused) {
  const std::vector<std::string> least = {"--config", "c", "--socket", "s"};
  const std::vector<std::vector<std::string>> wrong = {{"--ports", "0"},      {"--ports", "27"},
                                                       {"--ports", "2x"},     {"--log-level", "8"},
                                                       {"--log-level", "-1"}, {"--mac", "01:00:00:00:00:01"},
                                                       {"--mac", "02:00"},    {"--state", ""},
                                                       {"--surprise"},        {"left over"}};
  for (const auto& more : wrong) {
    auto words = least;
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_TRUE(refused(words)) << more[0];
  }
  EXPECT_TRUE(refused({"--config", "c"}));
  EXPECT_TRUE(refused({"--socket", "s"}));
}

TEST(Options, ADerivedAddressIsOneHostsAndOneSocketsOwn) {
  const auto mac = derived_mac("/run/a");
  EXPECT_EQ(mac[0] & 3, 2);  // local, and no group
  EXPECT_EQ(derived_mac("/run/a"), mac);
  EXPECT_NE(derived_mac("/run/b"), mac);
}

TEST(Options, TheVersionIsTheProjects) {
  EXPECT_EQ(about("--version").rfind("softswitch 1.", 0), 0u);
  EXPECT_EQ(about("--config"), "");
}

}  // namespace
