/// The identity under which a client's binding is kept: its identifier option, else its hardware address
/// (RFC 2131 section 4.2).
#pragma once

#include <array>
#include <cstdint>

#include "dhcp/server.h"
#include "packet/message4.h"

namespace dhcp::server {

struct ClientKey {
  uint8_t type = 0;
  uint8_t length = 0;
  /// Zero behind `length`: a stored key is compared over its own length, which may be the longer one.
  std::array<uint8_t, DHCPS_CLIENT_ID_SIZE> bytes{};
};

ClientKey client_key(const packet::Message4& message);

}  // namespace dhcp::server
