/// Blocks of a capture file as Wireshark reads it (draft-ietf-opsawg-pcapng), in the machine's own byte order, which
/// the first block declares. Each call adds one whole block.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace dhcp::softswitch::pcapng {

using Bytes = std::vector<uint8_t>;

enum class Direction : uint32_t { in = 1, out = 2 };

/// The pieces of a frame, in their order: addresses, tag or nothing, the rest.
using Pieces = std::array<std::span<const uint8_t>, 3>;

struct Counts {
  uint64_t kept = 0, lost = 0;  // frames that the filter let through: written, and those for which there was no room
};

void add_section(Bytes& out, std::string_view application);
/// An Ethernet interface; they are numbered from 0 in the order they are added. Times count nanoseconds.
void add_interface(Bytes& out, std::string_view name, std::string_view description);
void add_frame(Bytes& out, uint32_t interface, uint64_t time_ns, Direction direction, const Pieces& frame);
void add_statistics(Bytes& out, uint32_t interface, uint64_t begin_ns, uint64_t end_ns, const Counts& counts);

/// What add_frame() and add_statistics() add.
size_t frame_block_size(const Pieces& frame);
inline constexpr size_t statistics_block_size = 24 + 2 * 12 + 3 * 12 + 4;

}  // namespace dhcp::softswitch::pcapng
