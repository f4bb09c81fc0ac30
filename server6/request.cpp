#include "server6/request.h"

#include <algorithm>

namespace dhcp::server6 {

using packet::MessageType6;

std::optional<Request> Request::open(const skpack& skp, const skpack* relay_frame) {
  const auto received = packet::Frame6::parse(relay_frame != nullptr ? *relay_frame : skp);
  const auto message = packet::message6_in(skp);
  if (!received || !message) return std::nullopt;
  Request request(*received);
  if (relay_frame != nullptr) request.carries(*message);
  return request;
}

bool Request::from_relay() const {
  return received_.message().is(MessageType6::relay_forward) || received_.message().is(MessageType6::relay_reply);
}

const std::optional<base::OwnIp6>& Request::own() {
  if (!own_asked_) own_ = base::own_ip6_prefix(static_cast<uint32_t>(vlan()));
  own_asked_ = true;
  return own_;
}

/// What a pool must hold to serve the message. Where a pool names no prefix length, a relay's link counts as a /64.
std::optional<base::OwnIp6> Request::pool_key() {
  constexpr uint8_t link_prefix_len = 64;
  const auto relay = from_relay() ? received_.relay_message() : std::nullopt;
  if (relay && !relay->link().is_zero()) return base::OwnIp6{relay->link(), link_prefix_len};
  return own();
}

Dhcp6Pool* Request::pool() {
  const auto key = pool_key();
  if (!key) return nullptr;
  for (Dhcp6Pool& pool : pools()) {
    if (!has_network(pool)) continue;
    const unsigned bits = pool.prefix_len != 0 ? pool.prefix_len : key->prefix_len;
    if (key->ip.in_prefix(Ip6::from(pool.start), bits)) return &pool;
  }
  return nullptr;
}

}  // namespace dhcp::server6

Dhcp6Pool* dhcp6_get_pool_entry(skpack* skp) {
  auto request = dhcp::server6::Request::open(*skp, nullptr);
  return request && request->received().tagged() ? request->pool() : nullptr;
}
