#include "server/request.h"

namespace dhcp::server {

std::optional<Request> Request::open(const skpack& skp) {
  const auto frame = packet::Frame4::parse(skp);
  if (!frame || !frame->tagged()) return std::nullopt;
  return Request(*frame);
}

const OwnAddress& Request::own() {
  if (!own_) own_ = own_address(vlan());
  return *own_;
}

bool Request::for_other_server() {
  const auto server = packet::find_in_frame(message(), packet::option::server_id);
  if (!server) return false;
  return server->size() < 4 || packet::load_be32(server->data()) != own().ip;
}

uint32_t Request::pool_address() {
  if (message().giaddr() != 0) return message().giaddr();
  if (message().ciaddr() != 0 && frame_.ip_destination() != packet::ip4::broadcast) return message().ciaddr();
  return own().ip;
}

DhcpPool* Request::pool() {
  const uint32_t ip = pool_address();
  for (DhcpPool& pool : pools()) {
    if (pool.network == 0 && pool.netmask == 0) continue;
    if ((ip & pool.netmask) == pool.network) return &pool;
  }
  return nullptr;
}

}  // namespace dhcp::server

DhcpPool* dhcp_get_pool_entry(skpack* skp) {
  auto request = dhcp::server::Request::open(*skp);
  return request ? request->pool() : nullptr;
}

uint8_t* dhcp_get_option(skpack* skp, int code, int* len_out) {
  using namespace dhcp::packet;
  const auto frame = Frame4::parse(*skp);
  if (!frame || code <= option::pad || code >= option::end) return nullptr;
  const auto value = find_in_frame(frame->message(), static_cast<uint8_t>(code));
  if (!value) return nullptr;
  if (len_out != nullptr) *len_out = static_cast<int>(value->size());
  return value->data();
}
