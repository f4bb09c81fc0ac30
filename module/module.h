/// The module's frame: the task table, its life, and the dispatcher that hands every frame to the services.
///
/// The only room that knows all services. It owns the six task rows and the event queue; the task service writes the
/// rows' ids. Frames are handled on the "dhcpr" task alone, so the stages need no lock among themselves.
#pragma once

#include <cstdint>
#include <span>

#include "dhcp/module.h"
#include "platform/queue.h"
#include "platform/task.h"

namespace dhcp::module {

/// The six tasks in the order in which they start.
std::span<ModuleTaskEntry> tasks();

/// What the queue may carry.
enum EventType : uint32_t {
  event_none = 0,
  event_ipv4_frame = 1,
  event_ipv6_frame = 4,
  event_port_change = 0x80000002,
};

/// Hands one event to whom it concerns and gives its frame or block back.
void dispatch(DhcpEvent& event);

/// A port-change block as posted: 24 words, each most significant byte first.
inline constexpr uint32_t port_change_words = 24, port_change_size = 96;

}  // namespace dhcp::module
