/// The interfaces of one snooping, with what is set for each.
///
/// The list belongs to the service's record and is walked under its busy word. Interfaces are added, never taken out,
/// until the service ends, so what find() gives is good while the service's lock is held.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "base/frame_counts.h"
#include "base/guard.h"
#include "base/port_list.h"
#include "dhcp/binding.h"

namespace dhcp::binding {

class Interfaces {
 public:
  using Node = SnoopIntfEntry;

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
  static Node& entry(intf_order_node& node) { return reinterpret_cast<Node&>(node); }

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

/// Copies the counts of a listed interface; 0 = those of frames that came from no listed one. 0, or -1.
template <size_t fates, size_t types>
int copy_counts(const base::FrameCountView& counts, const Interfaces& interfaces, uint32_t intf,
                uint32_t (&out)[fates][types]) {
  if (intf != 0 && interfaces.find(intf) == nullptr) return -1;
  for (size_t fate = 0; fate < fates; ++fate) {
    for (size_t type = 0; type < types; ++type) out[fate][type] = counts.at(base::count_row(intf), fate, type);
  }
  return 0;
}

/// Begins counting again for an interface; 0 = everything.
inline void clear_counts(base::FrameCountView counts, const Interfaces& interfaces, uint32_t intf) {
  interfaces.each([=](Interfaces::Node& node) {
    if (intf == 0 || node.ifindex == intf) node.dropped_ack = node.dropped_offer = 0;
  });
  if (intf == 0) return counts.clear();
  if (interfaces.find(intf) != nullptr) counts.clear(base::count_row(intf));
}

}  // namespace dhcp::binding
