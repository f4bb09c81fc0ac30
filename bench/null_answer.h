/// A DHCP server that costs next to nothing: what it says to one frame.
///
/// Each client has one address, told from its MAC and never written down. What is no question for it is passed over.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace dhcp::bench {

inline constexpr uint8_t null_server_mac[] = {0x02, 0xbe, 0x5e, 0, 0, 1};

using AnswerFrame = std::array<uint8_t, 1024>;

struct Answered {
  uint64_t all = 0;         // DHCP messages
  uint64_t with_agent = 0;  // of those, with option 82, or through a DHCPv6 relay
};

/// The frame that answers, written into `out`; empty when there is nothing to say.
std::span<const uint8_t> answer4(std::span<const uint8_t> frame, AnswerFrame& out, Answered& counts);
std::span<const uint8_t> answer6(std::span<const uint8_t> frame, AnswerFrame& out, Answered& counts);

}  // namespace dhcp::bench
