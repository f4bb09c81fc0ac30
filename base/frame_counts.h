/// What became of the frames of one service: a count for every interface, fate and message type.
///
/// Frames are handled by one thread at a time, which alone counts and needs no locked instruction for it. Counts only
/// ever grow; clearing remembers how far they had come, so that it neither stops nor disturbs who counts. Whoever reads
/// or clears may do so from any thread.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/frame_watch.h"
#include "base/port_list.h"
#include "dhcp/counters.h"

namespace dhcp::base {

/// Rows of a table: 0 for interfaces that have no row of their own, then ports, then groups.
inline constexpr uint32_t last_counted_port = 63, last_counted_group = 16;
inline constexpr size_t count_rows = 1 + last_counted_port + last_counted_group;

constexpr size_t count_row(uint32_t intf) {
  if (intf <= last_counted_port) return intf;
  const uint32_t group = interface_number(intf);
  return is_group(intf) && group >= 1 && group <= last_counted_group ? last_counted_port + group : 0;
}
constexpr uint32_t interface_of_row(size_t row) {
  const auto number = static_cast<uint32_t>(row);
  return number <= last_counted_port ? number : (number - last_counted_port) | group_bit;
}

/// A table as its readers see it, whatever its size.
class FrameCountView {
 public:
  struct Cell {
    std::atomic<uint32_t> counted{0}, cleared{0};
  };

  constexpr FrameCountView(Cell* cells, size_t fates, size_t types) : cells_(cells), fates_(fates), types_(types) {}

  size_t fates() const { return fates_; }
  size_t types() const { return types_; }

  uint32_t at(size_t row, size_t fate, size_t type) const {
    const Cell& cell = cells_[(row * fates_ + fate) * types_ + type];
    const uint32_t cleared = cell.cleared.load(std::memory_order_acquire);  // what it was taken from is seen, too
    return cell.counted.load(std::memory_order_relaxed) - cleared;
  }
  /// Of all interfaces.
  uint32_t sum(size_t fate, size_t type) const {
    uint32_t sum = 0;
    for (size_t row = 0; row < count_rows; ++row) sum += at(row, fate, type);
    return sum;
  }
  /// Of all interfaces and message types.
  uint32_t sum(size_t fate) const {
    uint32_t sum = 0;
    for (size_t type = 0; type < types_; ++type) sum += this->sum(fate, type);
    return sum;
  }
  void clear(size_t row) {
    for (size_t i = row * fates_ * types_; i < (row + 1) * fates_ * types_; ++i) {
      const uint32_t counted = cells_[i].counted.load(std::memory_order_relaxed);
      // Most were never written: they take up no memory until they are.
      if (counted != cells_[i].cleared.load(std::memory_order_relaxed)) {
        cells_[i].cleared.store(counted, std::memory_order_release);
      }
    }
  }
  void clear() {
    for (size_t row = 0; row < count_rows; ++row) clear(row);
  }

 private:
  Cell* cells_;
  size_t fates_, types_;
};

template <DhcpService service, size_t fates, size_t types>
class FrameCounts {
 public:
  /// `type` 0 stands for a frame without one of the known message types; one that is beyond them counts as such.
  void count(uint32_t intf, size_t fate, unsigned type) {
    auto& counted = cells_[(count_row(intf) * fates + fate) * types + (type < types ? type : 0)].counted;
    counted.store(counted.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    if (frames_watched()) note_fate(service, static_cast<uint8_t>(fate));
  }
  constexpr FrameCountView view() { return {cells_.data(), fates, types}; }

 private:
  std::array<FrameCountView::Cell, count_rows * fates * types> cells_;
};

}  // namespace dhcp::base
