/// Address and MAC of one of the device's own interfaces, for what is asked once a frame.
#pragma once

#include <cstdint>
#include <optional>

#include "base/mac.h"

namespace dhcp::packet {

/// An answer of the kernel's serves for so long, and so for the frames of a burst: the operator may change an address
/// at any time, but a frame waits longer for its turn.
inline constexpr uint64_t own_nic_serves_us = 100;

/// What get_nic_address() gives, as the kernel has it now or had it less than that ago. Asked on a socket that stays
/// open, since making and closing one costs more than all else that is done for a frame. Any thread.
int own_nic(const char* ifname, uint32_t* wire_ip_out, uint8_t* mac_out);
std::optional<base::MacAddress> own_mac(const char* ifname);

/// Closes the socket; the next question opens it again.
void close_own_nic();

}  // namespace dhcp::packet
