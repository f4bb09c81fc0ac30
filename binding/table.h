/// What both snoopings know of their clients: one binding a MAC address, found by MAC and by (VLAN, address).
///
/// The records belong to the service; the table is the one place that links, counts and frees bindings. The caller
/// holds the service's lock. A bucket's busy word is taken only while its list is walked or changed, never across a
/// deletion, which takes it again.
///
/// Each index is 256 buckets of circular lists, newest first. The services differ in a traits type:
///
///   Entry, Address                 the record of a binding, and the type of an address
///   address(entry)                 the address of a binding
///   bucket(vlan, address)          its bucket; taken modulo 256
///   create_limit, bucket_limit     a MAC is taken in while there are fewer bindings, and fewer in its bucket
///   make_room(bucket)              called when a MAC bucket has reached its limit: true when it may grow after all
///   attach(entry)                  a binding was found by its MAC, made or added
///   may_enter(entry)               false keeps a binding out of the address index
///   make_way(entry, holder)        `holder` has the newcomer's VLAN and address: removes it, or false keeps the
///                                  newcomer out
///   entered(entry, bucket, count)  a binding is now in the address index; its bucket's busy word is held
///   left(entry)                    a binding is no longer in the address index
///   erasing(entry)                 a binding is about to go
///   bucket_at_erase(entry)         the address bucket whose word and count a deletion uses
///   kept(entry)                    a bound dynamic binding that outlives its lease
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

#include "base/guard.h"
#include "base/list.h"
#include "base/os.h"
#include "dhcp/binding.h"

namespace dhcp::binding {

inline constexpr unsigned buckets = DHCP_SNOOP_BUCKETS;
inline constexpr int32_t learning = 0, bound = 1;  // Entry::state
inline constexpr int32_t learning_timeout_s = 31;

/// Seconds from `then` to `now`; right across the wrap of either.
inline int32_t seconds_since(int32_t then, uint32_t now) {
  return static_cast<int32_t>(now - static_cast<uint32_t>(then));
}

inline unsigned mac_bucket(const uint8_t* mac) {
  unsigned sum = 0;
  for (int i = 0; i < 6; ++i) sum += mac[i];
  return sum % buckets;
}

template <class Traits>
class Table {
 public:
  using Entry = typename Traits::Entry;
  using Index = DhcpSnoopIndex;
  using Address = typename Traits::Address;

  constexpr Table(int32_t& count, Index& by_mac, Index& by_address)
      : count_(count), by_mac_(by_mac), by_address_(by_address) {}

  /// All lists empty, all words free. Bindings are not freed.
  void reset() const {
    count_ = 0;
    for (unsigned i = 0; i < buckets; ++i) {
      for (Index* index : {&by_mac_, &by_address_}) {
        index->count[i] = 0;
        index->busy[i].store(0);
        base::list_init(index->head[i]);
      }
    }
  }

  Entry* find(const uint8_t* mac) const {
    const unsigned bucket = mac_bucket(mac);
    const base::BusyGuard busy(by_mac_.busy[bucket]);
    for (Entry& entry : in_mac_bucket(bucket)) {
      if (!std::equal(mac, mac + 6, entry.mac)) continue;
      Traits::attach(entry);
      return &entry;
    }
    return nullptr;
  }

  /// A new binding holds its MAC and zeroes. Null when the table is full or there is no memory.
  Entry* find_or_create(const uint8_t* mac) const {
    if (Entry* found = find(mac); found != nullptr) return found;
    const unsigned bucket = mac_bucket(mac);
    if (count_ >= Traits::create_limit) return nullptr;
    if (by_mac_.count[bucket] >= Traits::bucket_limit && !Traits::make_room(bucket)) return nullptr;
    auto* entry = new (std::nothrow) Entry{};
    if (entry == nullptr) return nullptr;
    std::copy_n(mac, 6, entry->mac);
    add(*entry);
    return entry;
  }

  /// Takes in a binding made by new; no limit holds, and a second one of its MAC comes before the first.
  void add(Entry& entry) const {
    const unsigned bucket = mac_bucket(entry.mac);
    const base::BusyGuard busy(by_mac_.busy[bucket]);
    base::list_add_head(by_mac_.head[bucket], entry.mac_link);
    Traits::attach(entry);
    ++by_mac_.count[bucket];
    ++count_;
  }

  Entry* find_address(int32_t vlan, const Address& address) const {
    const unsigned bucket = Traits::bucket(vlan, address) % buckets;
    const base::BusyGuard busy(by_address_.busy[bucket]);
    for (Entry& entry : base::Records<Entry, offsetof(Entry, ip_link)>(by_address_.head[bucket])) {
      if (entry.vlan == vlan && Traits::address(entry) == address) return &entry;
    }
    return nullptr;
  }

  /// Enters a binding under its VLAN and address, if the service lets it in and the present holder makes way.
  void enter_address(Entry& entry) const {
    if (!Traits::may_enter(entry)) return;
    Entry* holder = find_address(entry.vlan, Traits::address(entry));
    if (holder != nullptr && !Traits::make_way(entry, *holder)) return;
    leave_address(entry);
    const unsigned bucket = address_bucket(entry);
    const base::BusyGuard busy(by_address_.busy[bucket]);
    base::list_add_head(by_address_.head[bucket], entry.ip_link);
    Traits::entered(entry, bucket, ++by_address_.count[bucket]);
  }

  /// Takes a binding out of the address index; nothing when it is not in it. To be called before its VLAN or address
  /// changes.
  void leave_address(Entry& entry) const { unlink_address(entry, address_bucket(entry)); }

  /// Takes a binding out of both indexes and frees it; nothing when it is not in the table.
  void erase(Entry& entry) const {
    const unsigned bucket = mac_bucket(entry.mac);
    if (!holds(bucket, entry)) return;
    unlink_address(entry, Traits::bucket_at_erase(entry) % buckets);
    Traits::erasing(entry);
    {
      const base::BusyGuard busy(by_mac_.busy[bucket]);
      base::list_unlink(entry.mac_link);
      --by_mac_.count[bucket];
      --count_;
    }
    delete &entry;
  }

  /// Calls `visit` for every binding, bucket by bucket from its front; it may erase the one that it is given.
  template <class Visit>
  void each(Visit visit) const {
    for (unsigned bucket = 0; bucket < buckets; ++bucket) each_in_bucket(bucket, visit);
  }

  /// The same for the bindings that share a MAC bucket.
  template <class Visit>
  void each_in_bucket(unsigned bucket, Visit visit) const {
    for (Entry& entry : in_mac_bucket(bucket)) visit(entry);
  }

  /// Calls `visit` for every binding under the bucket's busy word: it may change nothing in the table.
  template <class Visit>
  void each_held(Visit visit) const {
    for (unsigned bucket = 0; bucket < buckets; ++bucket) {
      if (base::list_empty(by_mac_.head[bucket])) continue;
      const base::BusyGuard busy(by_mac_.busy[bucket]);
      for (Entry& entry : in_mac_bucket(bucket)) visit(entry);
    }
  }

  /// The same for bound entries only.
  template <class Visit>
  void each_bound(Visit visit) const {
    each_held([&visit](Entry& entry) {
      if (entry.state == bound) visit(entry);
    });
  }

  /// Deletes what has outlived its time: learning entries after 31 seconds, dynamic ones when their lease is over.
  void age_bucket(unsigned bucket) const {
    each_in_bucket(bucket, [this](Entry& entry) {
      if (outlived(entry, base::now32())) erase(entry);
    });
  }

  void age() const {
    for (unsigned bucket = 0; bucket < buckets; ++bucket) age_bucket(bucket);
  }

  /// Frees every binding without a word to anybody.
  void free_all() const {
    each([](Entry& entry) {
      if (base::list_linked(entry.ip_link)) base::list_unlink(entry.ip_link);
      base::list_unlink(entry.mac_link);
      delete &entry;
    });
    reset();
  }

 private:
  base::Records<Entry> in_mac_bucket(unsigned bucket) const { return base::Records<Entry>(by_mac_.head[bucket]); }

  static unsigned address_bucket(const Entry& entry) {
    return Traits::bucket(entry.vlan, Traits::address(entry)) % buckets;
  }

  bool holds(unsigned bucket, const Entry& wanted) const {
    const base::BusyGuard busy(by_mac_.busy[bucket]);
    for (Entry& entry : in_mac_bucket(bucket)) {
      if (&entry == &wanted) return true;
    }
    return false;
  }

  void unlink_address(Entry& entry, unsigned bucket) const {
    if (!base::list_linked(entry.ip_link)) return;
    {
      const base::BusyGuard busy(by_address_.busy[bucket]);
      base::list_unlink(entry.ip_link);
      --by_address_.count[bucket];
    }
    Traits::left(entry);
  }

  static bool outlived(const Entry& entry, uint32_t now) {
    const int32_t age = seconds_since(entry.time, now);
    if (entry.state == learning) return age >= learning_timeout_s;
    if (entry.is_static != 0 || Traits::kept(entry)) return false;
    return entry.lease < age;
  }

  int32_t& count_;
  Index& by_mac_;
  Index& by_address_;
};

}  // namespace dhcp::binding
