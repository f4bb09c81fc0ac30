/// Hash chains beside a list: the list keeps the order, the chains make finding a record independent of its length.
///
/// A node carries one Chain link a table. The hash is kept in the link, so a record that is changed in place can still
/// be taken out. Newest first within a chain.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace dhcp::base {

template <class Node>
struct Chain {
  Node* next = nullptr;
  uint32_t hash = 0;
};

/// Spreads neighbouring numbers over a table (Knuth's multiplicative hash). Its high bits are the good ones.
inline uint32_t address_hash(uint32_t ip) { return ip * 0x9e3779b1u; }

/// Hash of some bytes, one more with each step, so that all their beginnings cost one pass (FNV-1a).
class ByteHash {
 public:
  explicit ByteHash(uint8_t first) { add(first); }
  void add(uint8_t byte) { state_ = (state_ ^ byte) * 0x01000193u; }
  uint32_t value() const { return state_; }

 private:
  uint32_t state_ = 0x811c9dc5u;
};

template <class Node, Chain<Node> Node::*Link>
class ChainTable {
 public:
  void insert(Node& node, uint32_t hash) {
    Node*& first = slot(hash);
    node.*Link = {first, hash};
    first = &node;
  }

  void remove(Node& node) {
    Node** at = &slot((node.*Link).hash);
    while (*at != nullptr && *at != &node) at = &((*at)->*Link).next;
    if (*at == &node) *at = (node.*Link).next;
  }

  /// The newest node of that hash that `matches` accepts; null = none.
  template <class Match>
  Node* find(uint32_t hash, Match matches) const {
    for (Node* node = slots_[hash >> unused_bits]; node != nullptr; node = (node->*Link).next) {
      if ((node->*Link).hash == hash && matches(*node)) return node;
    }
    return nullptr;
  }

 private:
  static constexpr unsigned slot_bits = 9, unused_bits = 32 - slot_bits;
  Node*& slot(uint32_t hash) { return slots_[hash >> unused_bits]; }
  std::array<Node*, 1u << slot_bits> slots_{};
};

}  // namespace dhcp::base
