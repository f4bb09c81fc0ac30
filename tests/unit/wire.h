/// Messages as clients send them and replies as they must look, with the test's own idea of the layout: nothing here is
/// taken from the module, so a wrong offset there cannot hide.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/adp.h"
#include "tests/fake/device.h"

namespace wire {

using Bytes = std::vector<uint8_t>;
using fake::Mac;

enum Type : uint8_t { DISCOVER = 1, OFFER, REQUEST, DECLINE, ACK, NAK, RELEASE, INFORM };

inline constexpr Mac broadcast_mac{0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
inline constexpr uint32_t broadcast_ip = 0xffffffff;

constexpr uint32_t ip(uint32_t a, uint32_t b, uint32_t c, uint32_t d) { return a << 24 | b << 16 | c << 8 | d; }
constexpr Mac mac_number(uint32_t n) {
  return {0x00, 0x10, 0x20, 0x30, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}
Bytes be32(uint32_t value);
Bytes be16(size_t value);
Bytes operator+(Bytes a, const Bytes& b);
uint32_t number_at(const Bytes& bytes, size_t offset, size_t size);
Bytes slice(const Bytes& bytes, size_t offset, size_t size);
template <class Array>
Array array_at(const Bytes& bytes, size_t offset) {
  Array array;
  std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), array.size(), array.begin());
  return array;
}
/// Sum of 16-bit words, folded; 0xffff over data that carries its own checksum (RFC 1071).
uint32_t folded_sum(const Bytes& bytes);

/// One frame from a client, field by field; what is not said is what a plain client sends.
class Message {
 public:
  Message(int type, const Mac& client);
  Message& option(uint8_t code, const Bytes& value);
  Message& ip_option(uint8_t code, uint32_t address) { return option(code, be32(address)); }
  /// Bytes of the options area as they are; the end option is the caller's.
  Message& raw_options(const Bytes& bytes);
  /// Any bytes of the message, by offset.
  Message& at(size_t offset, const Bytes& bytes);
  Message& xid(uint32_t value) { return at(4, be32(value)); }
  Message& broadcast_flag() { return at(10, {0x80, 0}); }
  Message& ciaddr(uint32_t address) { return at(12, be32(address)); }
  Message& giaddr(uint32_t address) { return at(24, be32(address)); }
  Message& vlan(uint16_t id) { return vlan_ = id, *this; }
  Message& untagged() { return tagged_ = false, *this; }
  Message& from(const Mac& source) { return source_ = source, *this; }
  /// The IPv4 source, where it is not ciaddr: a server speaks from its own address.
  Message& from_ip(uint32_t address) { return from_ip_ = address, *this; }
  Message& unicast_to(const Mac& mac, uint32_t address) { return to_mac_ = mac, to_ip_ = address, *this; }
  Bytes frame() const;

 private:
  Bytes fixed_, options_;
  bool end_ = true, tagged_ = true;
  uint16_t vlan_ = 10;
  Mac source_, to_mac_ = broadcast_mac;
  uint32_t to_ip_ = broadcast_ip, from_ip_ = 0;
};

/// A frame buffer as the chip hands it over. The storage is as long as the frame, so that a sanitizer sees every byte
/// that is read behind it.
class Received {
 public:
  /// Behind the frame there may be `room` for a longer one.
  explicit Received(const Bytes& frame, uint32_t port = 3, size_t room = 0);
  skpack* skp() { return &skp_; }
  Bytes bytes() const { return {storage_.get(), storage_.get() + skp_.psize}; }

 private:
  std::unique_ptr<uint8_t[]> storage_;
  skpack skp_{};
};

struct Options {
  std::vector<std::pair<int, Bytes>> options;

  std::vector<int> codes() const;
  /// Value of the first such option; empty without one.
  Bytes option(int code) const;
};

/// A reply taken apart. `faults` names what is wrong with lengths, headers, checksums and the end of the options.
struct Reply : Options {
  explicit Reply(const fake::Sent& sent);
  fake::Sent sent;
  std::string faults;
  Mac to_mac{}, from_mac{};
  uint32_t vlan = 0, to_ip = 0, from_ip = 0;
  uint32_t type = 0, xid = 0, flags = 0, ciaddr = 0, yiaddr = 0, siaddr = 0, giaddr = 0;
  Bytes message;
};

}  // namespace wire
