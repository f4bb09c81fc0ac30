#include "server/client_key.h"

#include <algorithm>

#include "packet/options4.h"

namespace dhcp::server {

namespace {

ClientKey make_key(uint8_t type, std::span<const uint8_t> bytes) {
  ClientKey key;
  key.type = type;
  key.length = static_cast<uint8_t>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), key.bytes.begin());
  return key;
}

}  // namespace

ClientKey client_key(const packet::Message4& message) {
  constexpr size_t shortest_option = 2, longest_option = 32;  // type byte included
  const auto option = packet::find_in_frame(message, packet::option::client_id);
  if (option && option->size() >= shortest_option && option->size() <= longest_option) {
    return make_key((*option)[0], option->subspan(1));
  }
  // A claimed length beyond chaddr runs on into sname, still inside the message. Length 0 gives a key that every
  // client of this hardware type has.
  const size_t length = std::min<size_t>(message.hlen(), DHCPS_CLIENT_ID_SIZE);
  return make_key(message.htype(), message.bytes().subspan(packet::dhcp4::chaddr.offset, length));
}

}  // namespace dhcp::server
