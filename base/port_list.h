/// The list of all ports and aggregation groups that relay, server and IPv4 snooping fill once at their start.
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

/// Makes the list and fills it with positions 1 .. (physical ports + 8); `count` becomes the number of elements.
/// Null when there is no memory for the list; an element that cannot be made is left out.
template <class Node = intf_order_node>
intf_order_list* make_port_list(int32_t& count) {
  count = 0;
  intf_order_list* list = intf_order_list_init();
  if (list == nullptr) return nullptr;
  const int reported = adp_get_max_phy_port_num();
  const uint32_t last = (reported > 0 ? static_cast<uint32_t>(reported) : 0) + extra_groups;
  for (uint32_t i = 1; i <= last; ++i) {
    intf_order_node* node = new_port_node<Node>(interface_at(i));
    if (node == nullptr) continue;
    if (intf_order_list_add_node(list, node) == 0) {
      ++count;
    } else {
      free(node);
    }
  }
  return list;
}

}  // namespace dhcp::base
