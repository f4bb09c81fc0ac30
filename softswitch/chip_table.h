/// A table as a chip has it: so many entries, in chains from a fixed number of buckets. Nothing allocates after it is
/// made, and only entries that were ever in use take memory.
///
/// What an entry means, its bucket and its order in the chain are the owner's, who walks with links: the place that
/// leads to an entry, and through which it is put in or taken out.
#pragma once

#include <cstddef>
#include <cstdint>

#include "softswitch/fixed_pages.h"

namespace dhcp::softswitch {

template <class Entry, size_t entries, size_t buckets>
class ChipTable {
 public:
  using Link = uint16_t;  // 0 = the end of the chain
  static_assert(entries < UINT16_MAX);

  ChipTable() : heads_(buckets), nodes_(entries + 1) {}

  Link& head(size_t bucket) { return heads_[bucket]; }
  Link head(size_t bucket) const { return heads_[bucket]; }
  Link& next(Link link) { return nodes_[link].next; }
  Link next(Link link) const { return nodes_[link].next; }
  Entry& at(Link link) { return nodes_[link].entry; }
  const Entry& at(Link link) const { return nodes_[link].entry; }
  Link link_to(const Entry& entry) const {  // one of the table's
    return static_cast<Link>(reinterpret_cast<const Node*>(&entry) - &nodes_[0]);
  }
  size_t size() const { return size_; }

  /// A new entry at the end of the chain, which is where `end` stands. False when every entry is taken.
  bool add(Link& end, const Entry& entry) {
    if (size_ == entries) return false;
    Link taken = free_;
    if (taken != 0) {
      free_ = nodes_[taken].next;
    } else {
      taken = ++touched_;
    }
    nodes_[taken] = {entry, 0};
    end = taken;
    ++size_;
    return true;
  }

  void remove(Link& link) {
    const Link freed = link;
    link = nodes_[freed].next;
    nodes_[freed].next = free_;
    free_ = freed;
    --size_;
  }

  template <class Predicate>
  void remove_if(Predicate gone) {
    for (size_t bucket = 0; bucket < buckets && size_ != 0; ++bucket) {
      for (Link* link = &heads_[bucket]; *link != 0;) {
        if (gone(at(*link))) {
          remove(*link);
        } else {
          link = &next(*link);
        }
      }
    }
  }

  template <class Visit>
  void for_each(Visit visit) const {
    for (size_t bucket = 0; bucket < buckets && size_ != 0; ++bucket)
      for (Link link = heads_[bucket]; link != 0; link = next(link)) visit(at(link));
  }

  void clear() {
    heads_.reset();
    nodes_.reset();
    free_ = touched_ = 0;
    size_ = 0;
  }

 private:
  struct Node {
    Entry entry;
    Link next;
  };
  FixedPages<Link> heads_;
  FixedPages<Node> nodes_;
  Link free_ = 0, touched_ = 0;  // the first of those given back; the last that was ever in use
  size_t size_ = 0;
};

}  // namespace dhcp::softswitch
