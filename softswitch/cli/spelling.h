/// Command rows that IPv4 and IPv6 have alike are written once, with signs where the words differ.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace dhcp::softswitch::cli {

struct Command;

struct FamilyWords {
  std::string_view keyword;   // for "%": "ip" or "ipv6"
  std::string_view protocol;  // for "$": "DHCP" or "DHCPv6"
};

std::vector<Command> spelt(std::vector<Command> rows, const FamilyWords& words);

/// The text for the life of the process, as a row wants it.
std::string_view kept(std::string text);

}  // namespace dhcp::softswitch::cli
