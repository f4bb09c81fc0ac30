/// Hosts that may use an address on an interface: what source guard, ARP checking and IGMP snooping are told.
///
/// One entry an interface, address and VLAN. Guarded by the fabric's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softswitch/chip_table.h"
#include "softswitch/control.h"

namespace dhcp::softswitch {

class HostTable {
 public:
  static constexpr size_t capacity = 4096;

  /// Adds the host, in place of one with the same interface, address and VLAN. False when the table is full.
  bool put(const KnownHost& host);
  /// False unless this very host is there, MAC included: what came after it stays.
  bool remove(const KnownHost& host);
  void remove_interface(uint32_t intf);
  void clear() { table_.clear(); }

  /// The hosts with this address on this interface, one for each VLAN; null = no more.
  const KnownHost* first(uint32_t intf, uint32_t ip) const;
  const KnownHost* next(const KnownHost* host) const;

  size_t size() const { return table_.size(); }
  std::vector<KnownHost> rows() const;  // by interface, VLAN, address

 private:
  using Table = ChipTable<KnownHost, capacity, capacity>;
  using Link = Table::Link;
  static size_t bucket_of(uint32_t intf, uint32_t ip);
  const KnownHost* same_from(Link link, uint32_t intf, uint32_t ip) const;
  Link& link_of(const KnownHost& host);

  Table table_;
};

}  // namespace dhcp::softswitch
