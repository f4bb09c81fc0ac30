/// One client's message while it is handled: the frame that brought it, and what the handlers ask about it.
#pragma once

#include <optional>
#include <span>

#include "base/own_ip6.h"
#include "packet/frame6.h"
#include "packet/options6.h"
#include "server6/server6.h"

namespace dhcp::server6 {

class Request {
 public:
  /// A message as it was received, which may be a relay's.
  explicit Request(const packet::Frame6& received) : received_(received), message_(received.message()) {}
  /// The message in `skp`, or nothing; with a relay's frame, as carried in that one.
  static std::optional<Request> open(const skpack& skp, const skpack* relay_frame);

  /// From now on the message is the client's own, which the received one carries.
  void carries(const packet::Message6& message) {
    message_ = message;
    carried_ = true;
  }
  bool carried() const { return carried_; }

  const packet::Frame6& received() const { return received_; }
  const packet::Message6& message() const { return message_; }
  bool from_relay() const;
  int vlan() const { return received_.vlan(); }
  /// The device's address on the VLAN; the system is asked once a message.
  const std::optional<base::OwnIp6>& own();

  std::optional<std::span<uint8_t>> option(uint16_t code) const {
    return packet::find_option6(message_.options(), code);
  }

  /// The newest pool that holds the relay's link address, else the device's own address; null = none.
  Dhcp6Pool* pool();

 private:
  std::optional<base::OwnIp6> pool_key();

  packet::Frame6 received_;
  packet::Message6 message_;
  bool carried_ = false;
  bool own_asked_ = false;
  std::optional<base::OwnIp6> own_;
};

/// The identifier of this server, as clients name it.
inline std::span<const uint8_t> server_id() { return dhcp6s_cfg.duid; }

}  // namespace dhcp::server6
