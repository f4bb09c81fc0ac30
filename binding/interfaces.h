/// The interfaces of one snooping, with what is set for each and what became of its frames.
///
/// The list belongs to the service's record and is walked under its busy word. Interfaces are added, never taken out,
/// until the service ends, so what find() gives is good while the service's lock is held.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "base/guard.h"
#include "base/port_list.h"
#include "dhcp/binding.h"

namespace dhcp::binding {

/// An interface as it is allocated: the record, and the fates of its frames.
template <class Counters>
struct CountedInterface : SnoopIntfEntry {
  Counters counters;
};

template <class Counters>
class Interfaces {
 public:
  using Node = CountedInterface<Counters>;

  constexpr Interfaces(intf_order_list*& list, int32_t& count, std::atomic<uint32_t>& busy)
      : list_(list), count_(count), busy_(busy) {}

  /// Fills the list: `make_list(count)` is one of base/port_list.h. False when there is no memory for it.
  template <class MakeList>
  bool make(MakeList make_list) const {
    const base::BusyGuard busy(busy_);
    list_ = make_list(count_);
    return list_ != nullptr;
  }

  void free_all() const {
    const base::BusyGuard busy(busy_);
    intf_order_list* list = std::exchange(list_, nullptr);
    if (list != nullptr) intf_order_list_free_node(list);
    count_ = 0;
  }

  /// 0, also when it is there already, or -1.
  int add(uint32_t intf) const {
    const base::BusyGuard busy(busy_);
    if (list_ == nullptr) return -1;
    if (search(intf) != nullptr) return 0;
    intf_order_node* node = base::new_port_node<Node>(intf);
    if (node == nullptr) return -1;
    if (intf_order_list_add_node(list_, node) != 0) {
      free(node);
      return -1;
    }
    ++count_;
    return 0;
  }

  /// The interface or null.
  Node* find(uint32_t intf) const {
    const base::BusyGuard busy(busy_);
    return search(intf);
  }

  /// Calls `visit(Node&)` for every interface in ascending order, under the busy word.
  template <class Visit>
  void each(Visit visit) const {
    const base::BusyGuard busy(busy_);
    auto* list = reinterpret_cast<intf_order_node*>(list_);
    if (list == nullptr) return;
    for (intf_order_node* node = list->next; node != list; node = node->next) visit(entry(*node));
  }

 private:
  static Node& entry(intf_order_node& node) { return static_cast<Node&>(reinterpret_cast<SnoopIntfEntry&>(node)); }

  /// The caller holds the busy word.
  Node* search(uint32_t intf) const {
    if (list_ == nullptr) return nullptr;
    intf_order_node* node = intf_order_list_search(list_, intf);
    return node != nullptr ? &entry(*node) : nullptr;
  }

  intf_order_list*& list_;
  int32_t& count_;
  std::atomic<uint32_t>& busy_;
};

/// How many frames met which fate. Those of interfaces that are not listed, and those without headers, are shown as
/// interface 0.
template <class Counters>
class FrameCounts {
 public:
  using Node = CountedInterface<Counters>;

  /// `port` is null for a frame from an interface that is not listed. A type beyond the counters' columns is 0.
  void count(Node* port, DhcpSnoopVerdict verdict, unsigned type) {
    Counters& counters = port != nullptr ? port->counters : unlisted_;
    constexpr unsigned columns = std::extent_v<decltype(Counters::count), 1>;
    ++counters.count[verdict][type < columns ? type : 0];
  }

  /// A frame without headers ends before the lock is taken, so this count stands apart.
  void count_headerless() { headerless_.fetch_add(1, std::memory_order_relaxed); }

  int copy(const Interfaces<Counters>& interfaces, uint32_t intf, Counters& out) const {
    if (intf == 0) {
      out = unlisted_;
      out.count[DHCP_SNOOP_MALFORMED][0] += headerless_.load(std::memory_order_relaxed);
      return 0;
    }
    const Node* port = interfaces.find(intf);
    if (port == nullptr) return -1;
    out = port->counters;
    return 0;
  }

  /// Clears an interface's counters; 0 = everything.
  void clear(const Interfaces<Counters>& interfaces, uint32_t intf) {
    interfaces.each([intf](Node& node) {
      if (intf != 0 && node.ifindex != intf) return;
      node.dropped_ack = node.dropped_offer = 0;
      node.counters = {};
    });
    if (intf == 0) clear_unlisted();
  }

  void clear_unlisted() {
    unlisted_ = {};
    headerless_.store(0, std::memory_order_relaxed);
  }

 private:
  Counters unlisted_{};
  std::atomic<uint32_t> headerless_{0};
};

}  // namespace dhcp::binding
