/// Hosts that may use an address on an interface: what source guard, ARP checking and IGMP snooping are told.
///
/// A fixed table, as in a chip: looking up, adding and removing never allocate. One entry an interface, address and
/// VLAN. Guarded by the fabric's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softswitch/control.h"

namespace dhcp::softswitch {

class HostTable {
 public:
  static constexpr size_t capacity = 4096;

  HostTable();
  /// Adds the host, in place of one with the same interface, address and VLAN. False when the table is full.
  bool put(const KnownHost& host);
  /// False unless this very host is there, MAC included: what came after it stays.
  bool remove(const KnownHost& host);
  void remove_interface(uint32_t intf);
  void clear();

  /// The hosts with this address on this interface, one for each VLAN; null = no more.
  const KnownHost* first(uint32_t intf, uint32_t ip) const;
  const KnownHost* next(const KnownHost* host) const;

  size_t size() const { return size_; }
  std::vector<KnownHost> rows() const;  // by interface, VLAN, address

 private:
  using Place = uint16_t;
  static constexpr Place none = 0xffff;
  struct Node : KnownHost {
    Place next = none;  // in its bucket, or among the free ones
  };
  static size_t bucket_of(uint32_t intf, uint32_t ip);
  const KnownHost* same_from(Place place, uint32_t intf, uint32_t ip) const;
  Place* link_of(const KnownHost& host);
  void free_linked(Place& link);

  std::vector<Node> nodes_;
  std::vector<Place> heads_;
  Place free_ = 0;
  size_t size_ = 0;
};

}  // namespace dhcp::softswitch
