/// The forwarding table: which interface a MAC address was last seen on, VLAN by VLAN.
///
/// Sets of four, as in a chip: a set that is full forgets its oldest entry.
/// Guarded by the fabric's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softswitch/chip_table.h"

namespace dhcp::softswitch {

class MacTable {
 public:
  struct Entry {
    uint64_t key = 0;  // VLAN and MAC
    uint32_t intf = 0;
    uint32_t seen = 0;  // second of the last frame
    uint16_t vlan() const { return static_cast<uint16_t>(key >> 48); }
    void mac(uint8_t out[6]) const;
  };

  void learn(uint16_t vlan, const uint8_t mac[6], uint32_t intf, uint32_t now_s);
  /// The interface, 0 = unknown.
  uint32_t find(uint16_t vlan, const uint8_t mac[6]) const;
  void expire(uint32_t now_s, uint32_t limit_s);
  void forget_intf(uint32_t intf);
  void forget_vlan(uint16_t vlan);
  void clear() { table_.clear(); }
  std::vector<Entry> rows() const;  // by VLAN, then MAC

 private:
  static constexpr size_t sets = 4096, ways = 4;
  using Table = ChipTable<Entry, sets * ways, sets>;
  static size_t set_of(uint64_t key);

  Table table_;
};

}  // namespace dhcp::softswitch
