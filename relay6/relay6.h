/// The DHCPv6 relay: clients' messages go to configured servers inside Relay-forwards, and what the servers'
/// Relay-replies carry goes back (RFC 8415 section 19).
///
/// It owns `gDhcp6Relay`. The destinations are guarded by the record's reader/writer word `server_busy`, the port list
/// by `port_users`; clients, buffer and own MAC belong to the dispatch task. Nobody waits for the network under a word.
#pragma once

#include <optional>

#include "base/frame_counts.h"
#include "base/helper_table.h"
#include "base/ip6.h"
#include "base/log.h"
#include "dhcp/relay6.h"

namespace dhcp::relay6 {

using base::Ip6;
using base::MacAddress;

inline constexpr const char* log_name = "dhcpc";

/// What sets the DHCPv6 relay's destinations apart from the IPv4 relay's.
struct DestinationRule {
  using Node = Dhcp6ServerNode;
  using Address = Ip6;
  static constexpr int32_t limit = DHCP6_RELAY_MAX_DESTINATIONS;
  static Address address(const Node& node) { return Ip6::from(node.ip6); }
  static void set_address(Node& node, const Address& address) { address.copy_to(node.ip6); }
  /// It counts as known all the same and is not probed: it is asked for again after another ageing time, and until then
  /// reached through its output interface alone.
  static void lost(Node& node) { std::fill_n(node.mac, sizeof node.mac, uint8_t{0}); }
};
using Destinations = base::HelperTable<DestinationRule>;

Destinations destinations();

/// Forgets all clients.
void clear_clients();

/// A new destination is to be probed without waiting for the rounds that are skipped.
void restart_probing();

using FrameCounts = base::FrameCounts<DHCP_SERVICE_RELAY6, DHCP6_RELAY_VERDICTS, 14>;
extern FrameCounts frame_counts;
/// One that went nowhere because the device does not know its MAC.
void count_unknown_destination();

}  // namespace dhcp::relay6
