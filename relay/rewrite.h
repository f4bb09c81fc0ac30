/// What the relay changes in the headers of a frame: VLAN tag, MACs, addresses, hops, checksums. All of it stands at
/// fixed offsets of a tagged frame.
#pragma once

#include <cstdint>
#include <optional>

#include "relay/relay.h"

namespace dhcp::relay {

/// The device's address in a VLAN, or nothing.
std::optional<uint32_t> address_in(uint32_t vlan);

/// A routed request goes from the relay's address and MAC to the helper's, counts one hop more than the client's had
/// and names the relay in giaddr (RFC 1542 section 4.1.1). False while the device's own MAC is not known.
bool fit_to_helper(uint8_t* frame, uint8_t client_hops, uint32_t relay_ip, const DhcpServerNode& helper);

/// Makes the checksum of the 20-byte IPv4 header anew.
void seal_ip_header(uint8_t* frame);

}  // namespace dhcp::relay
