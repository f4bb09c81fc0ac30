#include "softswitch/host_table.h"

#include <algorithm>
#include <tuple>

namespace dhcp::softswitch {

HostTable::HostTable() { clear(); }

void HostTable::clear() {
  nodes_.assign(capacity, {});
  heads_.assign(capacity, none);
  for (size_t i = 0; i + 1 < capacity; ++i) nodes_[i].next = static_cast<Place>(i + 1);
  free_ = 0;
  size_ = 0;
}

size_t HostTable::bucket_of(uint32_t intf, uint32_t ip) {
  return ((uint64_t{intf} << 32 | ip) * 0x9e3779b97f4a7c15u >> 52) % capacity;
}

/// The link that leads to the host of the same interface, address and VLAN, or the free end of its bucket.
HostTable::Place* HostTable::link_of(const KnownHost& host) {
  Place* link = &heads_[bucket_of(host.intf, host.ip)];
  while (*link != none) {
    Node& node = nodes_[*link];
    if (node.ip == host.ip && node.intf == host.intf && node.vlan == host.vlan) break;
    link = &node.next;
  }
  return link;
}

bool HostTable::put(const KnownHost& host) {
  Place* const link = link_of(host);
  if (*link == none) {
    if (free_ == none) return false;
    const Place taken = free_;
    free_ = nodes_[taken].next;
    nodes_[taken].next = none;
    *link = taken;
    ++size_;
  }
  static_cast<KnownHost&>(nodes_[*link]) = host;
  return true;
}

void HostTable::free_linked(Place& link) {
  const Place freed = link;
  link = nodes_[freed].next;
  nodes_[freed].next = free_;
  free_ = freed;
  --size_;
}

bool HostTable::remove(const KnownHost& host) {
  Place* const link = link_of(host);
  if (*link == none || nodes_[*link].mac != host.mac) return false;
  free_linked(*link);
  return true;
}

void HostTable::remove_interface(uint32_t intf) {
  for (Place& head : heads_) {
    for (Place* link = &head; *link != none;) {
      if (nodes_[*link].intf == intf) {
        free_linked(*link);
      } else {
        link = &nodes_[*link].next;
      }
    }
  }
}

const KnownHost* HostTable::same_from(Place place, uint32_t intf, uint32_t ip) const {
  while (place != none && (nodes_[place].ip != ip || nodes_[place].intf != intf)) place = nodes_[place].next;
  return place == none ? nullptr : &nodes_[place];
}

const KnownHost* HostTable::first(uint32_t intf, uint32_t ip) const {
  return same_from(heads_[bucket_of(intf, ip)], intf, ip);
}

const KnownHost* HostTable::next(const KnownHost* host) const {
  return same_from(static_cast<const Node*>(host)->next, host->intf, host->ip);
}

std::vector<KnownHost> HostTable::rows() const {
  std::vector<KnownHost> rows;
  for (const Place head : heads_)
    for (Place place = head; place != none; place = nodes_[place].next) rows.push_back(nodes_[place]);
  const auto key = [](const KnownHost& h) { return std::tuple(h.intf, h.vlan, h.ip); };
  std::sort(rows.begin(), rows.end(), [&](const KnownHost& a, const KnownHost& b) { return key(a) < key(b); });
  return rows;
}

}  // namespace dhcp::softswitch
