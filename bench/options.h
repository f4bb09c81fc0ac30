/// The options of a DHCPv4 message, read without the product's own reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace dhcp::bench {

inline constexpr uint8_t option_pad = 0, option_mask = 1, option_requested = 50, option_lease = 51, option_type = 53,
                         option_server = 54, option_list = 55, option_agent = 82, option_end = 255;

/// `take(code, value)` for each option up to the end, or to one that is longer than what is left.
template <class Take>
void each_option(std::span<const uint8_t> options, Take take) {
  while (options.size() >= 2 && options[0] != option_end) {
    if (options[0] == option_pad) {
      options = options.subspan(1);
      continue;
    }
    const size_t length = options[1];
    if (options.size() - 2 < length) return;
    take(options[0], options.subspan(2, length));
    options = options.subspan(2 + length);
  }
}

}  // namespace dhcp::bench
