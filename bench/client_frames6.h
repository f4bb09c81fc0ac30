/// The frames of one DHCPv6 client (RFC 8415 section 18.2), as untagged Ethernet frames with valid checksums: what
/// client_frames.h is for DHCPv4, under the same names, so that one load drives either.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/mac.h"
#include "bench/wire6.h"

namespace dhcp::bench {

/// The server's DUID, as far as one may be long (RFC 8415 section 11.1).
struct ServerId6 {
  std::array<uint8_t, 130> bytes{};
  uint8_t size = 0;
  bool operator==(const ServerId6&) const = default;
  std::span<const uint8_t> value() const { return std::span(bytes).first(size); }
};

/// What a server said in an ADVERTISE or REPLY. `type` is 0 when it refused: no address, or a status other than
/// success.
struct Answer6 {
  uint8_t type = 0;
  uint32_t xid = 0;
  Address6 address{};
  ServerId6 server;
  base::MacAddress server_mac;
};

std::optional<Answer6> read_answer6(std::span<const uint8_t> frame);

/// The MAC of the load's client with this link-local address; nothing when it is none of theirs.
std::optional<base::MacAddress> client_at(const Address6& address);

class ClientFrames6 {
 public:
  explicit ClientFrames6(const base::MacAddress& mac);
  /// Each returns the frame to send; it stays until the next call. Of `xid` 24 bits count.
  std::span<const uint8_t> discover(uint32_t xid);  // SOLICIT
  std::span<const uint8_t> request(uint32_t xid, const Answer6& offer);
  std::span<const uint8_t> release(uint32_t xid, const Answer6& lease);

 private:
  std::span<const uint8_t> message(uint8_t type, uint32_t xid, const Answer6* from);

  base::MacAddress mac_;
  Address6 address_;
  Frame6Writer writer_;
};

}  // namespace dhcp::bench
