/// Answers: a DHCP message built in the one reply buffer, and its way out as a tagged frame.
///
/// The buffer belongs to the message that is being handled, so the server lock guards it.
#pragma once

#include <cstdint>
#include <span>

#include "server/request.h"

namespace dhcp::server {

inline constexpr size_t reply_buffer_size = 1024;

int send_offer(Request& request, const DhcpPool& pool, uint32_t ip);
/// `ip` 0 answers an INFORM: no address, no lease, no parameters (RFC 2131 section 4.3.5).
int send_ack(Request& request, const DhcpPool& pool, uint32_t ip);
int send_nack(Request& request);

/// Completes the headers around the message in `buffer` and sends the frame. `asker` is who sent the request's frame.
/// 0 also when a unicast client's port is not known; -1 only for a length that the buffer cannot hold.
int send_reply(std::span<uint8_t, reply_buffer_size> buffer, int options_len, bool force_broadcast, int vlan,
               const OwnAddress& own, const base::MacAddress& asker);

}  // namespace dhcp::server
