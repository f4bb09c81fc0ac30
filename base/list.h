/// Intrusive circular doubly linked lists with a sentinel head, as every service keeps them.
///
/// A record's first member is its DhcpListHead; a record on several lists has one for each. Insertion is at the head
/// unless said, so lists are walked newest first. An unlinked record carries two poison values in its links, so that a
/// stale pointer is recognised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "dhcp/types.h"

namespace dhcp::base {

inline DhcpListHead* poison_next() { return reinterpret_cast<DhcpListHead*>(uintptr_t{0x00100100}); }
inline DhcpListHead* poison_prev() { return reinterpret_cast<DhcpListHead*>(uintptr_t{0x00200200}); }

inline void list_init(DhcpListHead& head) { head.next = head.prev = &head; }

/// A head in zeroed storage is as good as an empty list.
inline bool list_empty(const DhcpListHead& head) { return head.next == nullptr || head.next == &head; }

inline void list_link_between(DhcpListHead& link, DhcpListHead& before, DhcpListHead& after) {
  link.prev = &before;
  link.next = &after;
  before.next = &link;
  after.prev = &link;
}

inline void list_add_head(DhcpListHead& head, DhcpListHead& link) { list_link_between(link, head, *head.next); }
inline void list_add_tail(DhcpListHead& head, DhcpListHead& link) { list_link_between(link, *head.prev, head); }

inline bool list_linked(const DhcpListHead& link) { return link.next != nullptr && link.next != poison_next(); }

/// Takes a linked record out and poisons its links; the record stays the caller's.
inline void list_unlink(DhcpListHead& link) {
  link.prev->next = link.next;
  link.next->prev = link.prev;
  link.next = poison_next();
  link.prev = poison_prev();
}

/// The records of a list, for range-for; the record in hand may be unlinked and freed. `link_offset` is where in the
/// record this list's links stand.
template <class Record, size_t link_offset = 0>
class Records {
  static_assert(std::is_standard_layout_v<Record>, "a record begins with its links");

 public:
  explicit Records(const DhcpListHead& head) : head_(&head) {}

  class Iterator {
   public:
    explicit Iterator(DhcpListHead* at) : at_(at), next_(at->next) {}
    Record& operator*() const { return *reinterpret_cast<Record*>(reinterpret_cast<uintptr_t>(at_) - link_offset); }
    Iterator& operator++() {
      at_ = next_;
      next_ = at_->next;
      return *this;
    }
    bool operator!=(const DhcpListHead* end) const { return at_ != end; }

   private:
    DhcpListHead *at_, *next_;
  };

  Iterator begin() const { return Iterator(head_->next != nullptr ? head_->next : const_cast<DhcpListHead*>(head_)); }
  const DhcpListHead* end() const { return head_; }

 private:
  const DhcpListHead* head_;
};

}  // namespace dhcp::base
