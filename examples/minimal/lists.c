/* platform/intf_list.h: circular lists, ascending by interface. */
#include "platform/intf_list.h"

#include <stdlib.h>

/* The list's sentinel begins with the same two links as every element. */
static struct intf_order_node* end_of(struct intf_order_list* list) { return (struct intf_order_node*)list; }

/* The first element that is not below `ifindex`, or the sentinel. */
static struct intf_order_node* seek(struct intf_order_list* list, uint32_t ifindex) {
  struct intf_order_node* at = list->next;
  while (at != end_of(list) && at->ifindex < ifindex) at = at->next;
  return at;
}

struct intf_order_list* intf_order_list_init(void) {
  struct intf_order_list* list = malloc(sizeof *list);
  if (list != NULL) list->next = list->prev = end_of(list);
  return list;
}

int intf_order_list_add_node(struct intf_order_list* list, struct intf_order_node* node) {
  struct intf_order_node* next = seek(list, node->ifindex);
  if (next != end_of(list) && next->ifindex == node->ifindex) return -1;
  node->next = next;
  node->prev = next->prev;
  next->prev->next = node;
  next->prev = node;
  return 0;
}

int intf_order_list_del_node(struct intf_order_list* list, struct intf_order_node* node) {
  (void)list;
  node->prev->next = node->next;
  node->next->prev = node->prev;
  return 0;
}

struct intf_order_node* intf_order_list_search(struct intf_order_list* list, uint32_t ifindex) {
  struct intf_order_node* at = seek(list, ifindex);
  return at != end_of(list) && at->ifindex == ifindex ? at : NULL;
}

void intf_order_list_free_node(struct intf_order_list* list) {
  for (struct intf_order_node *next, *at = list->next; at != end_of(list); at = next) {
    next = at->next;
    free(at);
  }
  free(list);
}

int intf_order_list_change_to_bit_map(struct intf_order_list* list, uint32_t map[2]) {
  int count = 0;
  map[0] = map[1] = 0;
  for (struct intf_order_node* at = list->next; at != end_of(list) && at->ifindex < 64; at = at->next, ++count)
    map[at->ifindex / 32] |= (uint32_t)1 << at->ifindex % 32;
  return count;
}
