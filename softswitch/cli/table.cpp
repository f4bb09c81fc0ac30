#include "softswitch/cli/table.h"

#include <cstdlib>

namespace dhcp::softswitch::cli {
namespace {

std::vector<Command> join() {
  std::vector<Command> all;
  for (const auto part :
       {session_commands(),   show_commands(),    config_readouts(),  capture_commands(),   log_commands(),
        debug_commands(),     counter_commands(), metrics_commands(), server_readouts(),    snooping_settings(),
        snooping_readouts(),  relay_readouts(),   switch_commands(),  relay_commands(),     server_commands(),
        snooping_commands(),  snooping4_only(),   snooping_clears(),  snooping6_commands(), snooping6_only(),
        snooping6_readouts(), snooping6_clears(), guard_commands(),   relay6_commands(),    server6_readouts(),
        server6_commands(),   client6_commands(), pool_commands(),    tech_support(),       pool6_commands()}) {
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
    {"show dhcp", "DHCP and DHCPv6, all services"},
    {"show dhcp counters", "What became of the frames"},
    {"show ip arp", "ARP checking"},
    {"show ip dhcp", "DHCP"},
    {"show ip dhcp information", "Settings of option 82"},
    {"show ip dhcp information option", "Settings of option 82"},
    {"show ip dhcp relay", "DHCP relay"},
    {"show ip dhcp snooping", "DHCP snooping"},
    {"show ipv6", "IPv6"},
    {"show ip igmp", "IGMP snooping"},
    {"show ip igmp snooping", "IGMP snooping"},
    {"show ip verify", "IP source guard"},
    {"show ipv6 dhcp", "DHCPv6"},
    {"show ipv6 dhcp client", "The switch as a DHCPv6 client"},
    {"show mac", "Forwarding table"},
    {"show interfaces", "Ports and their counters"},
    {"logging", "The log"},
    {"no logging", "The log"},
    {"show monitor", "Capture of frames"},
    {"monitor", "Capture of frames"},
    {"no monitor", "Capture of frames"},
    {"debug", "Log on demand"},
    {"no debug", "Log on demand"},
    {"debug dhcp", "DHCP and DHCPv6, all services"},
    {"no debug dhcp", "DHCP and DHCPv6, all services"},
    {"clear", "Clear a table"},
    {"clear dhcp", "DHCP and DHCPv6, all services"},
    {"clear mac", "Forwarding table"},
    {"clear ip", "IPv4"},
    {"clear ipv6", "IPv6"},
    {"clear ip arp", "ARP checking"},
    {"clear ip arp inspection", "ARP checking"},
    {"clear ip dhcp", "DHCP"},
    {"clear ip dhcp relay", "DHCP relay"},
    {"clear ip dhcp snooping", "DHCP snooping"},
    {"clear ip dhcp snooping binding", "Clients that snooping knows"},
    {"clear ip verify", "IP source guard"},
    {"clear ip verify source", "IP source guard"},
    {"clear ipv6 dhcp", "DHCPv6"},
    {"clear ipv6 dhcp binding", "IPv6 addresses given to clients"},
    {"clear ipv6 dhcp conflict", "IPv6 addresses found in use"},
    {"clear ipv6 dhcp client", "The switch as a DHCPv6 client"},
    {"clear ipv6 dhcp relay", "DHCPv6 relay"},
    {"clear ipv6 dhcp server", "DHCPv6 server"},
    {"clear ip dhcp binding", "Addresses given to clients"},
    {"clear ip dhcp conflict", "Addresses found in use"},
    {"no", "Take a line back"},
    {"write", "Save"},
    {"write ip", "IPv4"},
    {"write ipv6", "IPv6"},
    {"write ip dhcp", "DHCP"},
    {"write ip dhcp snooping", "DHCP snooping"},
    {"ip", "IPv4"},
    {"no ip", "IPv4"},
    {"ip arp", "ARP checking"},
    {"no ip arp", "ARP checking"},
    {"ip dhcp", "DHCP"},
    {"no ip dhcp", "DHCP"},
    {"ip dhcp information", "Settings of option 82"},
    {"no ip dhcp information", "Settings of option 82"},
    {"ip dhcp information option", "Settings of option 82"},
    {"no ip dhcp information option", "Settings of option 82"},
    {"ip dhcp relay", "DHCP relay"},
    {"no ip dhcp relay", "DHCP relay"},
    {"ip dhcp relay information", "Option 82"},
    {"no ip dhcp relay information", "Option 82"},
    {"ip dhcp snooping", "DHCP snooping"},
    {"no ip dhcp snooping", "DHCP snooping"},
    {"ip dhcp snooping database", "File of the bindings"},
    {"no ip dhcp snooping database", "File of the bindings"},
    {"ip dhcp snooping information", "Option 82"},
    {"no ip dhcp snooping information", "Option 82"},
    {"ip dhcp snooping verify", "Check of the sender's hardware address"},
    {"no ip dhcp snooping verify", "Check of the sender's hardware address"},
    {"ip verify", "IP source guard"},
    {"no ip verify", "IP source guard"},
    {"ipv6", "IPv6"},
    {"no ipv6", "IPv6"},
    {"ipv6 address", "IPv6 address of the switch in this VLAN"},
    {"no ipv6 address", "IPv6 address of the switch in this VLAN"},
    {"ipv6 dhcp", "DHCPv6"},
    {"no ipv6 dhcp", "DHCPv6"},
    {"ipv6 dhcp relay", "DHCPv6 relay"},
    {"no ipv6 dhcp relay", "DHCPv6 relay"},
    {"renew", "Ask a server again"},
    {"renew ipv6", "IPv6"},
    {"renew ipv6 dhcp", "DHCPv6"},
    {"renew ipv6 dhcp interface", "VLAN interface"},
    {"service", "DHCP services"},
    {"no service", "DHCP services"},
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

void show_without_readout() { std::abort(); }

std::span<const Command> commands() {
  static const std::vector<Command> all = join();
  return all;
}

/// What IPv6 has no text of its own for is about the same as with IPv4.
std::string_view keyword_help(std::string_view path) {
  for (const KeywordHelp& text : keyword_texts) {
    if (text.path == path) return text.help;
  }
  if (path.ends_with(" json")) return "For programs, as JSON";
  constexpr std::string_view six = "ipv6 ";
  const size_t at = path.find(six);
  if (at == std::string_view::npos) return {};
  return keyword_help(std::string(path.substr(0, at)) + "ip " + std::string(path.substr(at + six.size())));
}

}  // namespace dhcp::softswitch::cli
