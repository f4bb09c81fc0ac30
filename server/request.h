/// One received client message while it is handled: the parsed frame, and what the handlers ask about it.
#pragma once

#include <optional>

#include "packet/frame4.h"
#include "packet/options4.h"
#include "server/client_key.h"
#include "server/own_address.h"
#include "server/server.h"

namespace dhcp::server {

class Request {
 public:
  /// Nothing for a frame without a VLAN tag or without room for a DHCP message.
  static std::optional<Request> open(const skpack& skp);

  const packet::Frame4& frame() const { return frame_; }
  const packet::Message4& message() const { return frame_.message(); }
  int vlan() const { return frame_.vlan(); }
  /// The device's address on the VLAN; the system is asked once a message.
  const OwnAddress& own();
  ClientKey key() const { return client_key(message()); }
  std::optional<uint32_t> requested_ip() const { return packet::ip_option(message(), packet::option::requested_ip); }
  bool names_server() const { return packet::find_in_frame(message(), packet::option::server_id).has_value(); }
  /// True when the message names a server that is not this one.
  bool for_other_server();

  /// The newest pool whose network holds the relay's, else the client's, else the device's own address; null = none.
  DhcpPool* pool();

 private:
  explicit Request(const packet::Frame4& frame) : frame_(frame) {}
  uint32_t pool_address();

  packet::Frame4 frame_;
  std::optional<OwnAddress> own_;
};

}  // namespace dhcp::server
