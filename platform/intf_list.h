/* The device's ordered interface lists: circular, ascending by interface word, elements made by the caller with
   malloc. An interface word is a port number (from 1), or 0x10000000 + n for aggregation group n. */
#ifndef DHCP_PLATFORM_INTF_LIST_H
#define DHCP_PLATFORM_INTF_LIST_H

#include <stdint.h>

#include "platform/decls.h"

PLATFORM_BEGIN

/** What every element begins with. */
struct intf_order_node {
  struct intf_order_node *next, *prev;
  uint32_t ifindex;
};

/** The list: a sentinel whose next and prev point at itself when empty. */
struct intf_order_list {
  struct intf_order_node *next, *prev;
};

struct intf_order_list* intf_order_list_init(void); /* null = no memory */
/** Links the element in ascending order; -1 = that interface is already listed (the element stays the caller's). */
int intf_order_list_add_node(struct intf_order_list* list, struct intf_order_node* node);
/** Unlinks the element; does not free it. */
int intf_order_list_del_node(struct intf_order_list* list, struct intf_order_node* node);
struct intf_order_node* intf_order_list_search(struct intf_order_list* list, uint32_t ifindex);
/** Frees all elements and the list with free(). */
void intf_order_list_free_node(struct intf_order_list* list);
/** Bit n of the 64 = port n, groups left out; returns the number of bits set. */
int intf_order_list_change_to_bit_map(struct intf_order_list* list, uint32_t map[2]);

PLATFORM_END

#endif
