/// Frames for the switch's tests, built by hand so that a length can be made to lie.
#pragma once

#include <cstdint>
#include <vector>

#include "softswitch/wire.h"

namespace dhcp::softswitch::test {

using Bytes = std::vector<uint8_t>;

inline void append(Bytes& to, std::initializer_list<int> bytes) {
  for (const int b : bytes) to.push_back(static_cast<uint8_t>(b));
}

inline Bytes ether(bool tagged, uint16_t type) {
  Bytes frame;
  append(frame, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x02, 0, 0, 0, 0, 0x11});
  if (tagged) append(frame, {0x81, 0x00, 0x60, 0x0a});  // priority 3, VLAN 10
  append(frame, {type >> 8, type & 255});
  return frame;
}

inline void transport(Bytes& frame, uint8_t protocol, uint16_t to, size_t payload) {
  const size_t head = protocol == protocol_udp ? 8 : 20;
  const size_t length = head + payload;
  append(frame, {0x00, 0x44, to >> 8, to & 255});
  if (protocol == protocol_udp) append(frame, {static_cast<int>(length >> 8), static_cast<int>(length & 255)});
  const size_t written = protocol == protocol_udp ? 6 : 4;
  frame.insert(frame.end(), head - written, 0xa5);  // the checksum's place among them, filled with rubbish
  for (size_t i = 0; i < payload; ++i) frame.push_back(static_cast<uint8_t>(i * 7 + 1));
}

/// `options` = words of IP options.
inline Bytes ip4(bool tagged, uint8_t protocol, uint16_t to, size_t payload, int options = 0) {
  Bytes frame = ether(tagged, type_ipv4);
  const size_t head = 20 + static_cast<size_t>(options) * 4;
  const size_t total = head + (protocol == protocol_udp ? 8 : 20) + payload;
  append(frame, {0x45 + options, 0, static_cast<int>(total >> 8), static_cast<int>(total & 255), 0, 1, 0, 0, 64});
  append(frame, {protocol, 0, 0, 192, 168, 10, 9, 192, 168, 10, 1});
  frame.insert(frame.end(), head - 20, 1);
  transport(frame, protocol, to, payload);
  return frame;
}

/// `chain` = extension headers of eight bytes, the first of them of the type given.
inline Bytes ip6(bool tagged, uint8_t protocol, uint16_t to, size_t payload, std::vector<uint8_t> chain = {}) {
  Bytes frame = ether(tagged, type_ipv6);
  const size_t length = chain.size() * 8 + (protocol == protocol_udp ? 8 : 20) + payload;
  const uint8_t first = chain.empty() ? protocol : chain[0];
  append(frame, {0x60, 0, 0, 0, static_cast<int>(length >> 8), static_cast<int>(length & 255), first, 64});
  for (int i = 0; i < 32; ++i) frame.push_back(static_cast<uint8_t>(0xf0 + i));
  for (size_t i = 0; i < chain.size(); ++i)
    append(frame, {i + 1 < chain.size() ? chain[i + 1] : protocol, 0, 0, 0, 0, 0, 0, 0});
  transport(frame, protocol, to, payload);
  return frame;
}

}  // namespace dhcp::softswitch::test
