/// Addresses as text, each in a buffer of its own, so that one line can print several.
#pragma once

#include <array>
#include <cstdint>

#include "base/ip6.h"

namespace dhcp::base {

/// Dotted text of a host-order IPv4 address.
class IpText {
 public:
  explicit IpText(uint32_t ip);
  const char* c_str() const { return text_.data(); }

 private:
  std::array<char, 16> text_;
};

/// Text of an IPv6 address as inet_ntop() writes it.
class Ip6Text {
 public:
  explicit Ip6Text(const Ip6& ip) : Ip6Text(ip.bytes.data()) {}
  explicit Ip6Text(const uint8_t* ip);  // 16 bytes, as on the wire
  const char* c_str() const { return text_.data(); }

 private:
  std::array<char, 46> text_{};  // the longest, and its end
};

/// Network byte order to and from host order, for the few values that socket calls hand over.
uint32_t host_from_network(uint32_t value);
uint32_t network_from_host(uint32_t value);

}  // namespace dhcp::base
