/// Hosts that may use an IPv6 address on an interface: DHCPv6 snooping's bindings as source guard last took them over.
///
/// The whole set is replaced at once; looking up neither allocates nor copies. Guarded by the fabric's lock.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "softswitch/control.h"

namespace dhcp::softswitch {

class BoundHosts {
 public:
  using Hosts = std::span<const KnownHost6>;

  /// In the order of these rows: to be called without the lock, before replace().
  static void sort(std::vector<KnownHost6>& hosts) {
    std::sort(hosts.begin(), hosts.end(), [](const KnownHost6& a, const KnownHost6& b) {
      return a.intf != b.intf ? a.intf < b.intf : a.ip6 < b.ip6;
    });
  }
  void replace(std::vector<KnownHost6>& sorted) { hosts_.swap(sorted); }

  Hosts on(uint32_t intf) const {
    return between([=](const KnownHost6& host) { return host.intf < intf ? -1 : host.intf > intf ? 1 : 0; });
  }
  Hosts with(uint32_t intf, const uint8_t* ip6) const {
    return between([=](const KnownHost6& host) {
      if (host.intf != intf) return host.intf < intf ? -1 : 1;
      return std::memcmp(host.ip6.data(), ip6, host.ip6.size());
    });
  }
  const std::vector<KnownHost6>& rows() const { return hosts_; }

 private:
  /// The hosts for which `order` says 0; before them it says less, behind them more.
  template <class Order>
  Hosts between(Order order) const {
    const auto first = std::partition_point(hosts_.begin(), hosts_.end(), [&](const auto& h) { return order(h) < 0; });
    return {first, std::partition_point(first, hosts_.end(), [&](const auto& h) { return order(h) == 0; })};
  }

  std::vector<KnownHost6> hosts_;
};

}  // namespace dhcp::softswitch
