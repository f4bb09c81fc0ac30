/// What the command line of the two snoopings differs in. Everything else about them is written once, over these.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "dhcp/counters.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "softswitch/cli/readout.h"
#include "softswitch/cli/records.h"
#include "softswitch/cli/spelling.h"
#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

struct Snooping4 {
  using Binding = DhcpSnoopBinding;
  using Counters = DhcpSnoopCounters;
  static constexpr FamilyWords words = {"ip", "DHCP"};
  static constexpr std::string_view address_form = "ip ADDRESS", address_example = "ip 192.168.10.20";
  static constexpr const char *address_key = "ip", *address_title = "IP address";
  static constexpr int service = DHCP_SERVICE_SNOOPING;
  static constexpr bool shows_every_type = true, counts_dropped = true;

  static constexpr auto set_switch = set_dhcp_snoop_switch;
  static constexpr auto set_vlan = set_dhcp_snoop_vlan;
  static constexpr auto set_trust = set_dhcp_snoop_trust;
  static constexpr auto set_suppression = set_dhcp_snoop_suppression;
  static constexpr auto set_writeflash = set_dhcp_snoop_writeflash;
  static constexpr auto get_database = dhcp_snoop_get_database;
  static constexpr auto get_bindings = dhcp_snoop_get_bindings;
  static constexpr auto get_counters = dhcp_snoop_get_counters;
  static constexpr auto get_interfaces = dhcp_snoop_get_interfaces;
  static constexpr auto clear_statistics = dhcp_snooping_statistics_clear;

  static const DhcpSnoopConfig& config() { return g_dhcp_snooping; }
  static std::string address_text(const DhcpServerInfo& server) { return dotted(server.ip); }
  static Cell address(const Binding& binding) { return binding.ip == 0 ? none() : dotted(binding.ip); }
  /// MAC, address where there is one, VLAN, lease.
  static int bind(const Args& args, uint32_t intf) {
    const size_t size = args.size();
    return set_dhcp_snoop_bind(1, args[0].mac.data(), size == 4 ? args[1].number : 0, intf,
                               static_cast<int>(args[size - 2].number), static_cast<int>(args[size - 1].number));
  }
  static int unbind(const uint8_t* mac, uint32_t intf) { return set_dhcp_snoop_bind(0, mac, 0, intf, 0, 0); }
  static void clear(int type, const Value& address, const uint8_t* mac, int vlan, uint32_t intf) {
    dhcp_snooping_binding_clear(type, address.number, mac, vlan, intf);
  }
  static void changed() {}  // the module tells source guard itself
};

struct Snooping6 {
  using Binding = Dhcp6SnoopBinding;
  using Counters = Dhcp6SnoopCounters;
  static constexpr FamilyWords words = {"ipv6", "DHCPv6"};
  static constexpr std::string_view address_form = "ipv6 ADDRESS6", address_example = "ipv6 2001:db8:10::20";
  static constexpr const char *address_key = "ipv6", *address_title = "IPv6 address";
  static constexpr int service = DHCP_SERVICE_SNOOPING6;
  static constexpr bool shows_every_type = false;  // thirteen columns are too many for a line
  static constexpr bool counts_dropped = false;

  static constexpr auto set_switch = set_dhcp6_snoop_switch;
  static constexpr auto set_vlan = set_dhcp6_snoop_vlan;
  static constexpr auto set_trust = set_dhcp6_snoop_trust;
  static constexpr auto set_suppression = set_dhcp6_snoop_suppression;
  static constexpr auto set_writeflash = set_dhcp6_snoop_writeflash;
  static constexpr auto get_database = dhcp6_snoop_get_database;
  static constexpr auto get_bindings = dhcp6_snoop_get_bindings;
  static constexpr auto get_counters = dhcp6_snoop_get_counters;
  static constexpr auto get_interfaces = dhcp6_snoop_get_interfaces;
  static constexpr auto clear_statistics = dhcp6_snooping_statistics_clear;

  static const Dhcp6SnoopConfig& config() { return g_dhcp6_snooping; }
  static bool has_address(const Binding& binding) {
    return std::any_of(binding.ip6, binding.ip6 + sizeof binding.ip6, [](uint8_t byte) { return byte != 0; });
  }
  static std::string address_text(const Dhcp6ServerInfo& server) { return ip6_text(server.ip6); }
  static Cell address(const Binding& binding) { return has_address(binding) ? ip6_text(binding.ip6) : none(); }
  static int bind(const Args& args, uint32_t intf) {
    return set_dhcp6_snoop_bind(1, args[0].mac.data(), intf, static_cast<int>(args[1].number),
                                static_cast<int>(args[2].number));
  }
  static int unbind(const uint8_t* mac, uint32_t intf) { return set_dhcp6_snoop_bind(0, mac, intf, 0, 0); }
  static void clear(int type, const Value& address, const uint8_t* mac, int vlan, uint32_t intf) {
    dhcp6_snooping_binding_clear(type, address.ip6.data(), mac, vlan, intf);
  }
  static void changed() { switch_control().take_bound_hosts(); }
};

/// The clients that a snooping knows, all of them at one moment, by MAC bucket.
template <class Family>
std::vector<typename Family::Binding> all_bindings() {
  return all_records<typename Family::Binding>(Family::get_bindings);
}

}  // namespace dhcp::softswitch::cli
