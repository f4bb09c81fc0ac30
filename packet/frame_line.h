/// A DHCP or DHCPv6 frame in one line, as an operator reads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/mac.h"
#include "packet/message4.h"
#include "packet/message6.h"

namespace dhcp::packet {

class FrameLine {
 public:
  /// What does not fit is cut.
  void add(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// VLAN, MACs, addresses, type, transaction and the addresses that the message is about. The frame's bytes are all
  /// that is looked at, whatever they are.
  void describe(std::span<uint8_t> frame);
  const char* c_str() const { return text_; }

 private:
  void add_mac(const base::MacAddress& mac);
  void add_address(const char* what, uint32_t ip);
  void add_option(const char* what, const Message4& message, uint8_t code);
  void describe4(const Message4& message, const base::MacAddress& source);
  void describe6(std::span<uint8_t> message, bool carried);
  void describe_relayed6(const RelayMessage6& relay, bool carried);

  char text_[512] = "";
  size_t used_ = 0;
};

}  // namespace dhcp::packet
