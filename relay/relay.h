/// The IPv4 relay: requests to the helper addresses, replies back to the clients; the probe that learns the helpers'
/// MACs; and the small ticker that stands beside it.
///
/// It owns `dhcpr_cfg`. Frames are handled on the dispatch task alone, which has the transaction table and the send
/// buffer to itself. The helpers are guarded by the record's reader/writer word `server_busy`, the port list by
/// `port_users`: neither is held while the network is waited for, nor while a frame is sent to a helper. Switches are
/// single words that the host's threads set and the dispatch task reads. Option 82 settings are snooping's and are read
/// under its lock.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/frame_counts.h"
#include "base/mac.h"
#include "dhcp/relay.h"

namespace dhcp::relay {

/// For fields of the record that are plain numbers there and yet shared between threads.
template <class T>
std::atomic_ref<T> shared(T& field) {
  return std::atomic_ref<T>(field);
}

inline bool management_vlan_mode() { return dhcpr_cfg.tag_mode.load(std::memory_order_relaxed) == 1; }

/// Who speaks in the log: about settings and helpers, and about frames.
inline constexpr const char* settings_log = "dhcpc";
inline constexpr const char* frames_log = "dhcp_relay";

/// The route port that goes without saying.
inline constexpr int32_t default_route_port = 24;

/// Verbosity below which the relay prints its lines about each frame.
inline constexpr int32_t quiet_level = 2;
inline int32_t debug_level() { return shared(dhcp_dbg_level).load(std::memory_order_relaxed); }

/// The management interface's MAC, asked for once; zeros while the device cannot tell. For the dispatch task.
base::MacAddress device_mac();

/// Forgets the clients whose requests were relayed.
void clear_transactions();

/// By message type: option 53, 0 when there is none or the options were not read.
using FrameCounts = base::FrameCounts<DHCP_SERVICE_RELAY, DHCPR_VERDICTS, 9>;
extern FrameCounts frame_counts;
/// One that went nowhere because the device does not know its MAC.
void count_unknown_destination();

}  // namespace dhcp::relay
