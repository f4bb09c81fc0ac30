/// The frames of one DHCP client (RFC 2131 section 4.4), as untagged Ethernet frames with valid checksums.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "packet/layout.h"

namespace dhcp::bench {

inline constexpr size_t frame_ip = 14, frame_udp = frame_ip + packet::ip4::header_size,
                        frame_dhcp = frame_udp + packet::udp::header_size;
/// The smallest message that old relays let through: 300 bytes behind the UDP header.
inline constexpr size_t client_frame_size = frame_dhcp + 300;

/// What a server said in an OFFER or ACK.
struct Answer {
  uint8_t type;
  uint32_t xid, address, server;
  base::MacAddress server_mac;
};

/// The answer in a frame, or nothing when it is not a server's reply.
std::optional<Answer> read_answer(std::span<const uint8_t> frame);

/// MAC of client number `index`: locally administered, distinct for the first 2^24.
base::MacAddress client_mac(uint32_t index);

class ClientFrames {
 public:
  explicit ClientFrames(const base::MacAddress& mac);
  /// Each returns the frame to send; it stays until the next call.
  std::span<const uint8_t> discover(uint32_t xid);
  std::span<const uint8_t> request(uint32_t xid, const Answer& offer);
  std::span<const uint8_t> release(uint32_t xid, const Answer& lease);

 private:
  std::span<const uint8_t> sealed(uint32_t xid);

  base::MacAddress mac_;
  std::array<uint8_t, client_frame_size> frame_{};
};

}  // namespace dhcp::bench
