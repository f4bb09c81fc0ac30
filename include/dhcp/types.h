/* What every service's public header builds on: linkage, shared words, list links. */
#ifndef DHCP_TYPES_H
#define DHCP_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
#include <atomic>
#define DHCP_BEGIN extern "C" {
#define DHCP_END }
/** A word or byte of a global record that other threads read without a lock. */
typedef std::atomic<uint32_t> dhcp_word;
typedef std::atomic<int32_t> dhcp_int;
typedef std::atomic<uint8_t> dhcp_flag;
#else
#include <stdatomic.h>
#define DHCP_BEGIN
#define DHCP_END
typedef _Atomic(uint32_t) dhcp_word;
typedef _Atomic(int32_t) dhcp_int;
typedef _Atomic(uint8_t) dhcp_flag;
#endif

/** Puts a function or record on the library's list of exported names. */
#define DHCP_API __attribute__((visibility("default")))

struct skpack;
struct intf_order_list;
struct ModuleTaskEntry;

/** Links of a circular doubly linked list; a head that points at itself is an empty list. */
struct DhcpListHead {
  struct DhcpListHead *next, *prev;
};

/** A global list of a server: count, head, and the word that whoever walks or changes it sets to 255 meanwhile. */
struct DhcpServerList {
  int32_t count;
  struct DhcpListHead head;
  dhcp_word busy;
};

#endif
