/// What the program was asked for on its command line.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dhcp::softswitch {

struct Options {
  std::string config, socket;
  std::string metrics;  // socket for scrapers, "" = none
  std::string state;    // directory of what outlives the switch, "" = the device's own places
  bool foreground = false;
  uint32_t ports = 26;
  int log_level = 6;
  std::optional<std::array<uint8_t, 6>> mac;
};

/// What the program tells about itself at this word, its usage or its version; "" at any other one.
std::string about(std::string_view word);

/// Nothing when the command line is wrong; standard error has been told then.
std::optional<Options> read_options(int count, char** words);

/// The MAC of a switch that was given none: locally administered, and the same at every start with this socket path.
std::array<uint8_t, 6> derived_mac(const std::string& socket_path);

}  // namespace dhcp::softswitch
