#include "softswitch/host_table.h"

#include <algorithm>
#include <tuple>

namespace dhcp::softswitch {

size_t HostTable::bucket_of(uint32_t intf, uint32_t ip) {
  return ((uint64_t{intf} << 32 | ip) * 0x9e3779b97f4a7c15u >> 52) % capacity;
}

/// The link that leads to the host of the same interface, address and VLAN, or the end of its chain.
HostTable::Link& HostTable::link_of(const KnownHost& host) {
  Link* link = &table_.head(bucket_of(host.intf, host.ip));
  while (*link != 0) {
    const KnownHost& known = table_.at(*link);
    if (known.ip == host.ip && known.intf == host.intf && known.vlan == host.vlan) break;
    link = &table_.next(*link);
  }
  return *link;
}

bool HostTable::put(const KnownHost& host) {
  Link& link = link_of(host);
  if (link == 0) return table_.add(link, host);
  table_.at(link) = host;
  return true;
}

bool HostTable::remove(const KnownHost& host) {
  Link& link = link_of(host);
  if (link == 0 || table_.at(link).mac != host.mac) return false;
  table_.remove(link);
  return true;
}

void HostTable::remove_interface(uint32_t intf) {
  table_.remove_if([=](const KnownHost& host) { return host.intf == intf; });
}

const KnownHost* HostTable::same_from(Link link, uint32_t intf, uint32_t ip) const {
  while (link != 0 && (table_.at(link).ip != ip || table_.at(link).intf != intf)) link = table_.next(link);
  return link == 0 ? nullptr : &table_.at(link);
}

const KnownHost* HostTable::first(uint32_t intf, uint32_t ip) const {
  return same_from(table_.head(bucket_of(intf, ip)), intf, ip);
}

const KnownHost* HostTable::next(const KnownHost* host) const {
  return same_from(table_.next(table_.link_to(*host)), host->intf, host->ip);
}

std::vector<KnownHost> HostTable::rows() const {
  std::vector<KnownHost> rows;
  table_.for_each([&](const KnownHost& host) { rows.push_back(host); });
  const auto key = [](const KnownHost& h) { return std::tuple(h.intf, h.vlan, h.ip); };
  std::sort(rows.begin(), rows.end(), [&](const KnownHost& a, const KnownHost& b) { return key(a) < key(b); });
  return rows;
}

}  // namespace dhcp::softswitch
