/// The lists of ports and aggregation groups that the services fill once at their start.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "platform/adp.h"
#include "platform/intf_list.h"

namespace dhcp::base {

inline constexpr uint32_t group_bit = 0x10000000;
inline constexpr uint32_t fixed_ports = 26;  // ports 1..26, whatever the chip reports
inline constexpr uint32_t extra_groups = 8;  // counted on top of the chip's ports

/// An interface word's two halves: whether it is an aggregation group, and the port's or group's number.
inline bool is_group(uint32_t intf) { return intf >> 28 == 1; }
inline uint32_t interface_number(uint32_t intf) { return intf & 0x0fffffff; }

/// Position i (from 1) as an interface word: ports first, then groups 1, 2, ...
inline uint32_t interface_at(uint32_t i) { return i <= fixed_ports ? i : (i - fixed_ports) | group_bit; }

/// A zeroed element holding `ifindex`, to be freed with free(); null when there is no memory.
template <class Node = intf_order_node>
intf_order_node* new_port_node(uint32_t ifindex) {
  auto* node = static_cast<Node*>(calloc(1, sizeof(Node)));
  if (node != nullptr) node->ifindex = ifindex;
  return reinterpret_cast<intf_order_node*>(node);
}

/// Makes a list of the interfaces at positions 1 .. `last`; `count` becomes the number of elements. Null, and 0, when
/// there is not memory for all of them: a port that is left out would be a stranger to its service for good.
template <class Node>
intf_order_list* fill_port_list(uint32_t last, uint32_t (*interface)(uint32_t), int32_t& count) {
  count = 0;
  intf_order_list* list = intf_order_list_init();
  if (list == nullptr) return nullptr;
  for (uint32_t i = 1; i <= last; ++i) {
    intf_order_node* node = new_port_node<Node>(interface(i));
    if (node == nullptr) {
      intf_order_list_free_node(list);
      count = 0;
      return nullptr;
    }
    if (intf_order_list_add_node(list, node) == 0) {
      ++count;
    } else {
      free(node);
    }
  }
  return list;
}

inline uint32_t physical_ports() {
  const int reported = adp_get_max_phy_port_num();
  return reported > 0 ? static_cast<uint32_t>(reported) : 0;
}

/// Positions 1 .. (physical ports + 8), groups among them.
template <class Node = intf_order_node>
intf_order_list* make_port_list(int32_t& count) {
  return fill_port_list<Node>(physical_ports() + extra_groups, interface_at, count);
}

/// The physical ports alone, however many: what snooping, relay and client of IPv6 know.
template <class Node = intf_order_node>
intf_order_list* make_physical_port_list(int32_t& count) {
  return fill_port_list<Node>(
      physical_ports(), [](uint32_t port) { return port; }, count);
}

}  // namespace dhcp::base
