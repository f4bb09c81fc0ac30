/// The bindings of DHCPv6 snooping: what binding/table.h and binding/file.h leave to the service, and the table itself.
#pragma once

#include <cstdio>

#include "binding/table.h"
#include "snooping6/snooping6.h"

namespace dhcp::snooping6 {

struct BindingRules {
  using Entry = MacBind6Struct;
  using Address = base::Ip6;

  static constexpr int32_t create_limit = 250, bucket_limit = 1025;

  static base::Ip6 address(const Entry& entry) { return base::Ip6::from(entry.ip6); }
  static unsigned bucket(int32_t vlan, const base::Ip6& ip) {
    return static_cast<uint32_t>(vlan) + ip.word(0) + ip.word(1) + ip.word(2) + ip.word(3);
  }
  /// A deletion counts in the address bucket that has the number of the MAC's, on purpose: the counts drift, and say
  /// nothing about whether a bucket is empty.
  static unsigned bucket_at_erase(const Entry& entry) { return binding::mac_bucket(entry.mac); }
  static bool make_room(unsigned bucket);
  static bool kept(const Entry& entry) { return entry.hold != 0; }

  static bool may_enter(const Entry&) { return true; }
  /// The holder stays, also when it is the newcomer itself.
  static bool make_way(const Entry&, Entry&) { return false; }
  static void attach(Entry&) {}
  static void entered(Entry&, unsigned, int32_t) {}
  static void left(Entry&) {}
  static void erasing(Entry&) {}

  static constexpr size_t longest_line = 254;
  /// The address is text (binding/line.h).
  static int print(FILE* stream, const Entry& entry);
  static bool parse(const char* line, Entry& entry);
};

inline constexpr binding::Table<BindingRules> bindings(g_dhcp6_snooping.bind_count, g_dhcp6_snooping.mac_index,
                                                       g_dhcp6_snooping.ip_index);

/// Gives the binding an address, out of the address index first when it is a new one.
void set_address(MacBind6Struct& binding, const base::Ip6& ip);

}  // namespace dhcp::snooping6
