/// The bindings of IPv4 snooping: what binding/table.h and binding/file.h leave to the service, and the table itself.
#pragma once

#include <cstdio>

#include "binding/table.h"
#include "snooping/snooping.h"

namespace dhcp::snooping {

struct BindingRules {
  using Entry = MacBindStruct;
  using Address = uint32_t;

  static constexpr int32_t create_limit = 250, bucket_limit = 1025;
  static constexpr int32_t enter_limit = 251;  // one more than may be created; only the file brings so many

  static uint32_t address(const Entry& entry) { return entry.ip; }
  static unsigned bucket(int32_t vlan, uint32_t ip) { return static_cast<uint32_t>(vlan) + ip; }
  static unsigned bucket_at_erase(const Entry& entry) { return bucket(entry.vlan, entry.ip); }
  static bool make_room(unsigned) { return false; }
  static bool kept(const Entry&) { return false; }

  /// Connects the binding with the verify entry of its MAC.
  static void attach(Entry& entry);
  static bool may_enter(const Entry& entry);
  /// The newcomer always gets the address: another client's binding goes, the same client's only leaves the index.
  static bool make_way(const Entry& newcomer, Entry& holder);
  /// The neighbours are told of every binding that enters or leaves the address index.
  static void entered(Entry& entry, unsigned bucket, int32_t count);
  static void left(Entry& entry);
  /// The verify entry of a binding goes with it.
  static void erasing(Entry& entry);

  static constexpr size_t longest_line = 255;
  /// The address is a number in decimal (binding/line.h).
  static int print(FILE* stream, const Entry& entry);
  static bool parse(const char* line, Entry& entry);
};

using BindingTable = binding::Table<BindingRules>;

inline constexpr BindingTable bindings(g_dhcp_snooping.bind_count, g_dhcp_snooping.mac_index, g_dhcp_snooping.ip_index);

/// What becomes of the neighbours' entries when a binding enters or leaves the address index. (neighbours)
void tell_neighbours_entered(MacBindStruct& binding);
void tell_neighbours_left(MacBindStruct& binding);

}  // namespace dhcp::snooping
