/// The device's ordered interface lists.
#include "platform/intf_list.h"

#include <cstdlib>

namespace {

constexpr uint32_t map_bits = 64;

/// The sentinel begins with the same two links as every element.
intf_order_node* sentinel(intf_order_list* list) { return reinterpret_cast<intf_order_node*>(list); }

}  // namespace

intf_order_list* intf_order_list_init() {
  auto* const list = static_cast<intf_order_list*>(std::malloc(sizeof(intf_order_list)));
  if (list != nullptr) list->next = list->prev = sentinel(list);
  return list;
}

int intf_order_list_add_node(intf_order_list* list, intf_order_node* node) {
  intf_order_node* at = list->prev;  // lists are filled in ascending order: look from the end
  while (at != sentinel(list) && at->ifindex > node->ifindex) at = at->prev;
  if (at != sentinel(list) && at->ifindex == node->ifindex) return -1;
  node->prev = at;
  node->next = at->next;
  at->next->prev = node;
  at->next = node;
  return 0;
}

int intf_order_list_del_node(intf_order_list* /*list*/, intf_order_node* node) {
  node->prev->next = node->next;
  node->next->prev = node->prev;
  node->next = node->prev = nullptr;
  return 0;
}

intf_order_node* intf_order_list_search(intf_order_list* list, uint32_t ifindex) {
  for (intf_order_node* node = list->next; node != sentinel(list) && node->ifindex <= ifindex; node = node->next)
    if (node->ifindex == ifindex) return node;
  return nullptr;
}

void intf_order_list_free_node(intf_order_list* list) {
  for (intf_order_node* node = list->next; node != sentinel(list);) {
    intf_order_node* const next = node->next;
    std::free(node);
    node = next;
  }
  std::free(list);
}

int intf_order_list_change_to_bit_map(intf_order_list* list, uint32_t map[2]) {
  map[0] = map[1] = 0;
  int count = 0;
  for (const intf_order_node* node = list->next; node != sentinel(list); node = node->next) {
    if (node->ifindex >= map_bits) continue;  // a group, or beyond the map
    map[node->ifindex / 32] |= uint32_t{1} << node->ifindex % 32;
    ++count;
  }
  return count;
}
