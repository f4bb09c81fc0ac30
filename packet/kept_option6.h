/// Options that outlive the message they came in: whole records, code and length included, in memory of their own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "packet/options6.h"

namespace dhcp::packet {

using KeptOption6 = std::unique_ptr<uint8_t[]>;

/// Writes the record where there is room for it: 4 bytes and the value.
void store_option6(uint8_t* record, uint16_t code, std::span<const uint8_t> value);

/// Null when there is no memory.
KeptOption6 keep_option6(uint16_t code, std::span<const uint8_t> value);

/// A whole IA_NA as a record of its own: with its address 44 bytes, without one 16. What else it holds is left out.
KeptOption6 keep_ia_na6(const Ia6& ia);

/// What a kept record holds.
Option6 kept_option6(uint8_t* record);
std::optional<Ia6> kept_ia6(uint8_t* record);

}  // namespace dhcp::packet
