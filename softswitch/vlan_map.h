/// VLANs and what each port does with them: which VLAN a received frame is in, who gets it, and with which tag.
///
/// Guarded by the fabric's lock.
#pragma once

#include <bit>
#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

#include "softswitch/control.h"
#include "softswitch/fixed_pages.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch {

using PortSet = uint64_t;  // bit n = port n
inline constexpr uint32_t most_ports = 63;
inline constexpr PortSet port_bit(uint32_t port) { return port <= most_ports ? PortSet{1} << port : 0; }
/// In ascending order.
template <class Visit>
void for_each_port(PortSet ports, Visit visit) {
  for (; ports != 0; ports &= ports - 1) visit(static_cast<uint32_t>(std::countr_zero(ports)));
}

class VlanMap {
 public:
  VlanMap();

  /// A trunk with no list is a member of every VLAN there is.
  void set_port(uint32_t port, PortMode mode, uint16_t access_vlan, uint16_t native_vlan,
                const std::vector<uint16_t>& allowed);
  bool create(uint16_t vlan);
  bool remove(uint16_t vlan);
  bool exists(uint32_t vlan) const { return vlan <= max_vlan && exists_[vlan]; }
  std::vector<uint16_t> list() const;

  /// The VLAN of a frame received on `port`; `tag` is its VLAN id when it came with one. Nothing = not for this port.
  std::optional<uint16_t> classify(uint32_t port, std::optional<uint16_t> tag) const;
  PortSet members(uint32_t vlan) const { return exists(vlan) ? members_[vlan] : 0; }
  /// Whether a frame of `vlan` leaves `port` with its tag.
  bool leaves_tagged(uint32_t port, uint16_t vlan) const;
  bool uses(uint32_t port, uint16_t vlan) const;  // named in the port's own configuration

 private:
  struct Port {
    PortMode mode = PortMode::access;
    uint16_t access = 1, native = 1;
    std::vector<uint16_t> allowed;  // in ascending order; none = all
  };
  bool member(const Port& port, uint16_t vlan) const;
  void refresh(uint32_t port);

  std::bitset<max_vlan + 1> exists_;
  FixedPages<PortSet> members_;  // by VLAN
  std::vector<Port> ports_;
};

}  // namespace dhcp::softswitch
