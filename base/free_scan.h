/// The lowest free address of a pool.
///
/// The answer is always that of a scan from the pool's first address; what is remembered between searches only keeps
/// the scan from looking again at addresses that cannot have become free.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace dhcp::base {

/// The address behind `ip`; nothing behind the last one there is.
inline std::optional<uint32_t> behind(uint32_t ip) { return ip != 0xffffffff ? std::optional(ip + 1) : std::nullopt; }

/// A pool's addresses, both ends included. None when they are the wrong way round.
template <class Address>
struct ScanRange {
  uint32_t pool_id = 0;
  Address first{}, last{};
  bool operator==(const ScanRange&) const = default;
};

template <class Address, size_t pools>
class FreeScans {
 public:
  /// Addresses have become free or taken in ways that released() is not told of: all scans begin again.
  void forget() { ++era_; }

  /// A binding or a conflict has let go of `ip`.
  void released(const Address& ip) {
    for (Scan& scan : scans_) {
      if (scan.era != era_ || ip < scan.range.first || scan.range.last < ip) continue;
      if (scan.frontier && ip >= *scan.frontier) continue;
      if (!add_open(scan, ip)) begin_again(scan);
    }
  }

  /// What a scan of `range` would find. `asks` answers: taken(ip), by a binding, a conflict or a host; device_own(ip),
  /// which may change at any time; last_excluded(ip), the last address of an excluded range that `ip` lies in, so that
  /// the whole of it can be passed over.
  template <class Asks>
  std::optional<Address> lowest_free(const ScanRange<Address>& range, const Asks& asks) {
    if (range.last < range.first) return std::nullopt;
    Scan& scan = scan_of(range);
    if (const auto open = lowest_open(scan, asks)) return open;
    bool remembering = true;
    for (std::optional<Address> at = scan.frontier; at && *at <= range.last;) {
      const Address ip = *at;
      if (const auto last = asks.last_excluded(ip)) {
        at = behind(*last);
      } else if (asks.taken(ip)) {
        at = behind(ip);
      } else if (!asks.device_own(ip)) {
        return ip;
      } else {
        // An own address that cannot be listed holds the frontier back, lest it be forgotten.
        remembering = remembering && add_open(scan, ip);
        at = behind(ip);
      }
      if (remembering) scan.frontier = at;
    }
    return std::nullopt;
  }

 private:
  /// How far one pool has been scanned. No address from the pool's first up to the frontier is free, but for those
  /// listed as open: addresses that have been released since, and free ones that are the device's own at the moment.
  struct Scan {
    ScanRange<Address> range;
    uint64_t era = 0;
    std::optional<Address> frontier;  // nothing once the last address there is lies behind
    size_t open_count = 0;
    std::array<Address, 128> open{};  // ascending

    auto open_begin() { return open.begin(); }
    auto open_end() { return open.begin() + static_cast<std::ptrdiff_t>(open_count); }
  };

  static void begin_again(Scan& scan) {
    scan.frontier = scan.range.first;
    scan.open_count = 0;
  }

  /// Lists `ip`, which lies below the frontier or on it, as open. False when there is no room.
  static bool add_open(Scan& scan, const Address& ip) {
    const auto at = std::lower_bound(scan.open_begin(), scan.open_end(), ip);
    if (at != scan.open_end() && *at == ip) return true;
    if (scan.open_count == scan.open.size()) return false;
    std::copy_backward(at, scan.open_end(), scan.open_end() + 1);
    *at = ip;
    ++scan.open_count;
    return true;
  }

  /// The pool's scan; without one, a scan that is out of date or of another range is begun again for it.
  Scan& scan_of(const ScanRange<Address>& range) {
    Scan* found = &scans_[range.pool_id % scans_.size()];
    for (Scan& scan : scans_) {
      if (scan.era != era_) found = &scan;
      if (scan.era == era_ && scan.range.pool_id == range.pool_id) {
        found = &scan;
        break;
      }
    }
    if (found->era == era_ && found->range == range) return *found;
    found->range = range;
    found->era = era_;
    begin_again(*found);
    return *found;
  }

  /// The lowest open address that is free. Those found taken on the way are struck off: they come back when released.
  template <class Asks>
  static std::optional<Address> lowest_open(Scan& scan, const Asks& asks) {
    size_t kept = 0;
    std::optional<Address> found;
    for (size_t i = 0; i < scan.open_count; ++i) {
      const Address ip = scan.open[i];
      if (!found) {
        if (asks.taken(ip) || asks.last_excluded(ip)) continue;
        if (!asks.device_own(ip)) found = ip;
      }
      scan.open[kept++] = ip;
    }
    scan.open_count = kept;
    return found;
  }

  std::array<Scan, pools> scans_;
  uint64_t era_ = 1;
};

}  // namespace dhcp::base
