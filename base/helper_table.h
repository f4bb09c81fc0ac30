/// The helpers (servers) to which a relay sends, each with the MAC of its next hop: one table for both families.
///
/// The table is a view over a record's list head, count and reader/writer word. Nobody waits for the network under the
/// word: who learns MACs takes copies, asks, and stores what came back for the address, if that is still listed.
/// A rule type says what the families do differently:
///
///   struct Rule {
///     using Node = ...;            // standard layout; begins with DhcpListHead links; valid, probe, mac, vlan, time
///     using Address = ...;         // host-order number, or 16 bytes as on the wire
///     static constexpr int32_t limit;
///     static Address address(const Node&);
///     static void set_address(Node&, const Address&);
///     static void lost(Node&);     // what becomes of a node whose next hop no longer answers
///   };
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <new>

#include "base/guard.h"
#include "base/list.h"
#include "base/mac.h"
#include "base/os.h"

namespace dhcp::base {

/// How often a relay sent to a helper and heard from it.
struct HelperCounters {
  std::atomic<uint32_t> requests{0}, replies{0};
};

/// For displays: how long something is known that was learnt then. 0 after the clock was set back.
inline uint32_t seconds_known(uint32_t then, uint32_t now) {
  return static_cast<uint32_t>(std::max(static_cast<int32_t>(now - then), 0));
}

enum class HelperError {
  none,
  exists,  // already listed, and nothing new is known about it
  absent,
  full,
  no_memory,
};

template <class Rule>
class HelperTable {
 public:
  using Node = typename Rule::Node;
  using Address = typename Rule::Address;

  /// A node as it was under the word.
  struct Copy {
    Node node{};
    uint32_t requests = 0, replies = 0;
  };
  struct Copies {
    std::array<Copy, Rule::limit> items{};
    size_t count = 0;
    const Copy* begin() const { return items.data(); }
    const Copy* end() const { return items.data() + count; }
  };

  HelperTable(DhcpListHead& list, int32_t& count, std::atomic<uint32_t>& word)
      : list_(list), count_(count), word_(word) {}

  /// Calls `visit(node, counters)` for each node in list order, as a reader, until it returns false.
  template <class Visit>
  void each(Visit visit) const {
    ReadGuard reader(word_);
    for (Node& node : Records<Node>(list_)) {
      if (!visit(node, counters(node))) return;
    }
  }

  /// Copies of the nodes that `wanted(node)` picks, in list order.
  template <class Wanted>
  Copies copies(Wanted wanted) const {
    Copies picked;
    each([&](const Node& node, const HelperCounters& count) {
      if (wanted(node)) picked.items[picked.count++] = {node, count.requests.load(), count.replies.load()};
      return picked.count < picked.items.size();
    });
    return picked;
  }
  Copies copies() const {
    return copies([](const Node&) { return true; });
  }

  int32_t size() const {
    ReadGuard reader(word_);
    return count_;
  }

  /// The first node with the address, or null. Only for callers that hold the word, or know that nobody removes it.
  Node* find(const Address& address) const {
    for (Node& node : Records<Node>(list_)) {
      if (Rule::address(node) == address) return &node;
    }
    return nullptr;
  }

  /// Lists the address, or brings what is known about it up to date. Without a MAC (null) a new node waits to be probed
  /// and a listed one is an error. `edit(node)` runs under the word on the node that was made or updated.
  template <class Edit>
  HelperError put(const Address& address, const uint8_t* mac, uint32_t vlan, Edit edit) {
    WriteGuard writer(word_);
    Node* node = find(address);
    if (node != nullptr && mac == nullptr) return HelperError::exists;
    if (node == nullptr) {
      if (count_ >= Rule::limit) return HelperError::full;
      node = append(address);
      if (node == nullptr) return HelperError::no_memory;
    }
    if (mac != nullptr) set_learnt(*node, mac, vlan, now32());
    edit(*node);
    return HelperError::none;
  }

  /// Takes the address off the list. False when it was not there.
  bool remove(const Address& address) {
    WriteGuard writer(word_);
    Node* node = find(address);
    if (node == nullptr) return false;
    list_unlink(links(*node));
    --count_;
    delete entry(*node);
    return true;
  }

  void clear() {
    WriteGuard writer(word_);
    for (Node& node : Records<Node>(list_)) delete entry(node);
    list_init(list_);
    count_ = 0;
  }

  /// Changes the node of the address, as a changer, when it is still listed.
  template <class Change>
  bool update(const Address& address, Change change) {
    WriteGuard writer(word_);
    Node* node = find(address);
    if (node == nullptr) return false;
    change(*node);
    return true;
  }

  static void set_learnt(Node& node, const uint8_t* mac, uint32_t vlan, uint32_t when) {
    std::copy_n(mac, sizeof node.mac, node.mac);
    node.vlan = vlan;
    node.valid = 1;
    node.probe = 0;
    node.time = when;
  }

  static HelperCounters& counters(Node& node) { return entry(node)->counters; }

 private:
  /// What is allocated: the documented node first, our own counters behind it.
  struct Entry {
    Node node{};
    HelperCounters counters;
  };

  static DhcpListHead& links(Node& node) { return *reinterpret_cast<DhcpListHead*>(&node); }
  static Entry* entry(Node& node) { return reinterpret_cast<Entry*>(&node); }

  Node* append(const Address& address) {
    auto* made = new (std::nothrow) Entry;
    if (made == nullptr) return nullptr;
    Rule::set_address(made->node, address);
    made->node.probe = 1;
    if (list_.next == nullptr) list_init(list_);
    list_add_tail(list_, links(made->node));
    ++count_;
    return &made->node;
  }

  DhcpListHead& list_;
  int32_t& count_;
  std::atomic<uint32_t>& word_;
};

/// Lets rounds of probing rest: after six failed rounds in a row, five are skipped.
class ProbeBackOff {
 public:
  static constexpr uint32_t failed_rounds = 6, end_of_rest = 11;

  /// Asked once a round: whether this one is to be skipped.
  bool rests() {
    if (count_.load() < failed_rounds) return false;
    if (count_.fetch_add(1) + 1 >= end_of_rest) count_.store(0);
    return true;
  }
  void round_ended(bool any_failed) {
    if (any_failed) {
      count_.fetch_add(1);
    } else {
      reset();
    }
  }
  void reset() { count_.store(0); }
  uint32_t count() const { return count_.load(); }

 private:
  std::atomic<uint32_t> count_{0};
};

/// Asks anew for the MACs of known helpers that are older than `ageing_s` seconds. `learn(copy, mac, vlan)` waits for
/// the network and returns 0 when the next hop answered; `learnt(copy)` sees the node after a success.
template <class Rule, class Learn, class Learnt>
void relearn_aged(HelperTable<Rule>& table, uint32_t ageing_s, Learn learn, Learnt learnt) {
  using Node = typename Rule::Node;
  const uint32_t now = now32();
  const auto aged =
      table.copies([&](const Node& node) { return node.valid == 1 && node.probe == 0 && now - node.time > ageing_s; });
  for (const auto& copy : aged) {
    const auto address = Rule::address(copy.node);
    // The time first: a helper that is gone is not asked for again before another ageing time has passed.
    const uint32_t asked = now32();
    table.update(address, [&](Node& node) { node.time = asked; });
    MacAddress mac;
    uint32_t vlan = 0;
    Node after = copy.node;
    if (learn(copy.node, mac.bytes.data(), vlan) == 0) {
      const bool listed = table.update(address, [&](Node& node) {
        HelperTable<Rule>::set_learnt(node, mac.bytes.data(), vlan, asked);
        after = node;
      });
      if (listed) learnt(after);
    } else {
      table.update(address, [](Node& node) { Rule::lost(node); });
    }
  }
}

/// A helper whose MAC is not known yet.
template <class Rule>
bool waits_for_probe(const typename Rule::Node& node) {
  return node.probe == 1 && Rule::address(node) != typename Rule::Address{};
}

/// One round of probing the helpers whose MAC is not known: `start(copy)` before each, `learn` and `learnt` as above.
template <class Rule, class Start, class Learn, class Learnt>
void probe_round(HelperTable<Rule>& table, ProbeBackOff& back_off, Start start, Learn learn, Learnt learnt) {
  using Node = typename Rule::Node;
  const auto unknown = table.copies(waits_for_probe<Rule>);
  if (unknown.count == 0 || back_off.rests()) return;
  bool any_failed = false;
  for (const auto& copy : unknown) {
    start(copy.node);
    MacAddress mac;
    uint32_t vlan = 0;
    if (learn(copy.node, mac.bytes.data(), vlan) != 0) {
      any_failed = true;
      continue;
    }
    Node after = copy.node;
    const bool listed = table.update(Rule::address(copy.node), [&](Node& node) {
      HelperTable<Rule>::set_learnt(node, mac.bytes.data(), vlan, now32());
      after = node;
    });
    if (listed) learnt(after);
  }
  back_off.round_ended(any_failed);
}

}  // namespace dhcp::base
