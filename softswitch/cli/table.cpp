#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {
namespace {

std::vector<Command> join() {
  std::vector<Command> all;
  for (const auto part : {session_commands(), show_commands(), server_readouts(), switch_commands(), server_commands(),
                          pool_commands()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

struct KeywordHelp {
  std::string_view path, help;
};
constexpr KeywordHelp keyword_texts[] = {
    {"show", "Show the state of the switch"},
    {"show ip", "IPv4"},
    {"show ip dhcp", "DHCP server"},
    {"show mac", "Forwarding table"},
    {"show interfaces", "Ports and their counters"},
    {"clear", "Clear a table"},
    {"clear mac", "Forwarding table"},
    {"clear ip", "IPv4"},
    {"clear ip dhcp", "DHCP server"},
    {"clear ip dhcp binding", "Addresses given to clients"},
    {"clear ip dhcp conflict", "Addresses found in use"},
    {"no", "Take a line back"},
    {"ip", "IPv4"},
    {"no ip", "IPv4"},
    {"ip dhcp", "DHCP server"},
    {"no ip dhcp", "DHCP server"},
    {"ipv6", "IPv6"},
    {"no ipv6", "IPv6"},
    {"mac", "Forwarding table"},
    {"no mac", "Forwarding table"},
    {"interface", "Configure a port or a VLAN interface"},
    {"no interface", "Remove an interface"},
    {"switchport", "VLANs of the port"},
    {"switchport trunk", "Carry several VLANs, tagged"},
    {"no switchport", "VLANs of the port"},
    {"no switchport trunk", "Back to the default of a trunk"},
    {"lease", "Lease time"},
    {"option", "Option sent to the clients"},
};

}  // namespace

std::span<const Command> commands() {
  static const std::vector<Command> all = join();
  return all;
}

std::string_view keyword_help(std::string_view path) {
  for (const KeywordHelp& text : keyword_texts) {
    if (text.path == path) return text.help;
  }
  return {};
}

}  // namespace dhcp::softswitch::cli
