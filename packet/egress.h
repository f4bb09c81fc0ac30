/// The way out: a built frame to every port of a VLAN, or to the port behind which a MAC was learnt.
///
/// The device copies what it is given, so the frame's storage stays the caller's. Nothing is allocated.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "base/mac.h"
#include "platform/adp.h"

namespace dhcp::packet {

enum class SendMode : int { flood = 0, snooped = 2, forwarded = 4 };

/// The one way to the device: sends to the listed ports, as its call says; null = all.
void transmit(skpack& frame, intf_order_list* ports, uint32_t vlan, SendMode mode);

/// Sends to all listed ports that are members of `vlan`, counted in on `users` as a reader of the list meanwhile.
void send_flood(std::span<uint8_t> frame, intf_order_list* ports, std::atomic<uint32_t>& users, uint32_t vlan);

/// The same for a frame that came in somewhere: not back to there.
void send_flood(skpack& frame, intf_order_list* ports, std::atomic<uint32_t>& users, uint32_t vlan);

/// Sends to one interface. The frame's record is the device's to read, `in_intf` included.
void send_to_port(skpack& frame, uint32_t port, uint32_t vlan, SendMode mode);

/// Sends to the one port behind which the device knows `mac` in `vlan`. An unknown MAC is dropped in silence: the
/// result is then false.
bool send_to_mac(std::span<uint8_t> frame, const base::MacAddress& mac, uint32_t vlan, SendMode mode);

/// A frame buffer around bytes that the module has built.
skpack frame_buffer(std::span<uint8_t> frame);

}  // namespace dhcp::packet
