/// The device's ordered lists, as the real ones: ascending, elements from malloc.
#include "platform/intf_list.h"

#include <cstdlib>

namespace {

intf_order_node* sentinel(intf_order_list* list) { return reinterpret_cast<intf_order_node*>(list); }

}  // namespace

intf_order_list* intf_order_list_init() {
  auto* list = static_cast<intf_order_list*>(malloc(sizeof(intf_order_list)));
  if (list != nullptr) list->next = list->prev = sentinel(list);
  return list;
}

int intf_order_list_add_node(intf_order_list* list, intf_order_node* node) {
  intf_order_node* after = list->next;
  while (after != sentinel(list) && after->ifindex < node->ifindex) after = after->next;
  if (after != sentinel(list) && after->ifindex == node->ifindex) return -1;
  node->next = after;
  node->prev = after->prev;
  after->prev->next = node;
  after->prev = node;
  return 0;
}

int intf_order_list_del_node(intf_order_list*, intf_order_node* node) {
  node->prev->next = node->next;
  node->next->prev = node->prev;
  return 0;
}

intf_order_node* intf_order_list_search(intf_order_list* list, uint32_t ifindex) {
  for (intf_order_node* node = list->next; node != sentinel(list); node = node->next) {
    if (node->ifindex == ifindex) return node;
  }
  return nullptr;
}

void intf_order_list_free_node(intf_order_list* list) {
  while (list->next != sentinel(list)) {
    intf_order_node* node = list->next;
    intf_order_list_del_node(list, node);
    free(node);
  }
  free(list);
}

int intf_order_list_change_to_bit_map(intf_order_list* list, uint32_t map[2]) {
  int bits = 0;
  map[0] = map[1] = 0;
  for (intf_order_node* node = list->next; node != sentinel(list); node = node->next) {
    if (node->ifindex >= 64) continue;
    map[node->ifindex / 32] |= 1u << node->ifindex % 32;
    ++bits;
  }
  return bits;
}
