/// Addresses that a client found in use by somebody else: a server's list, and beside it an index by address.
///
/// Every record on the list is made and ended here. `Traits` holds what the families differ in: `Record` (its links,
/// the address, `time`), `Address`, list(), limit, address(record), store(record, address), hash(address), and
/// released(address), which is told of every address that may be handed out again. Anybody may decline any address, so
/// the list has an end: the oldest makes room. The caller holds the list's word.
#pragma once

#include <cstdint>
#include <new>

#include "base/chain_table.h"
#include "base/record_list.h"

namespace dhcp::base {

inline constexpr uint32_t conflict_hold_s = 86400;  // after the last report

template <class Traits>
class ConflictList {
  using Record = typename Traits::Record;
  using Address = typename Traits::Address;

  /// A conflict as it is allocated: the record and its place in the index.
  struct Node : Record {
    Chain<Node> by_address;
  };

 public:
  Record* find(const Address& address) const {
    return index_.find(Traits::hash(address), [&](const Node& node) { return Traits::address(node) == address; });
  }

  /// Reported now, whether it is new or known. False when there is no memory.
  bool report(const Address& address, uint32_t now) {
    Record* known = find(address);
    if (known != nullptr) {
      known->time = now;
      return true;
    }
    auto* node = new (std::nothrow) Node{};
    if (node == nullptr) return false;
    if (Traits::list().count >= Traits::limit) remove(*reinterpret_cast<Record*>(Traits::list().head.prev));
    Traits::store(*node, address);
    node->time = now;
    link_record(Traits::list(), node);
    index_.insert(*node, Traits::hash(address));
    return true;
  }

  void remove(Record& record) {
    auto& node = static_cast<Node&>(record);
    const Address address = Traits::address(node);
    index_.remove(node);
    free_record(Traits::list(), &node);
    Traits::released(address);
  }

  void remove_all() {
    for (Record& record : Records<Record>(Traits::list().head)) remove(record);
  }

  /// Takes off what was last reported more than a day ago.
  void expire(uint32_t now) {
    for (Record& record : Records<Record>(Traits::list().head)) {
      if (uint64_t{record.time} + conflict_hold_s < now) remove(record);
    }
  }

 private:
  ChainTable<Node, &Node::by_address> index_;
};

}  // namespace dhcp::base
