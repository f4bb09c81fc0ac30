/// Addresses as text, each in a buffer of its own, so that one line can print several.
#pragma once

#include <array>
#include <cstdint>

namespace dhcp::base {

/// Dotted text of a host-order IPv4 address.
class IpText {
 public:
  explicit IpText(uint32_t ip);
  const char* c_str() const { return text_.data(); }

 private:
  std::array<char, 16> text_;
};

/// Network byte order to and from host order, for the few values that socket calls hand over.
uint32_t host_from_network(uint32_t value);
uint32_t network_from_host(uint32_t value);

}  // namespace dhcp::base
