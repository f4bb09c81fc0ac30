/// What the server does with each message of a client (RFC 2131 section 4.3).
#include <utility>

#include "base/log.h"
#include "packet/egress.h"
#include "platform/adp.h"
#include "server/bindings.h"
#include "server/conflicts.h"
#include "server/reply.h"
#include "server/request.h"

namespace dhcp::server {

namespace {

using packet::MessageType;

constexpr int handled = 0, ignored = -1;

/// The lines of all steps are said in the name of the one function that the host knows.
constexpr const char* speaker = "dhcp_server_packet_process";

#define SAY(name, ...) DHCP_LOG_FROM(speaker, __LINE__, 7, base::module_frame, name, __VA_ARGS__)
#define SAY_AT(text, ...) SAY("dhcpc", "[%s:%d]" text, speaker, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define SAY_AT_SPACED(name, text) SAY(name, "[%s : %d]" text, speaker, __LINE__)

/// Gives up the client's binding of `ip`, when it has one; 0 = the newest of the pool.
void drop_binding(const ClientKey& key, DhcpPool& pool, uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  DhcpBinding* binding = find_binding(key, pool.pool_id, ip);
  if (binding != nullptr) dhcp_delete_binding(binding, &pool);
}

int on_discover(Request& request, DhcpPool& pool, DhcpStaticHost* host) {
  SAY_AT("Receive dhcp discover message\n");
  const ClientKey key = request.key();
  SpareNode held = take_back(key, pool);
  if (held != nullptr) SAY_AT("delete binding pool_id[%d]\n", static_cast<int>(pool.pool_id));
  const uint32_t wanted = request.requested_ip().value_or(held != nullptr ? address_of(*held) : 0);

  SAY_AT("select ip address\n");
  const uint32_t ip = dhcp_select_ip_addr(&pool, host, wanted);
  if (ip == 0) {
    SAY_AT("No free address available in the pool %d\n", static_cast<int>(pool.pool_id));
    return ignored;
  }
  SAY_AT("add binding\n");
  DhcpBinding* binding = add_binding(key, request.message().xid(), pool, ip, std::move(held));
  if (binding == nullptr) return ignored;
  SAY_AT("send offer\n");
  if (send_offer(request, pool, ip) == 0) return handled;

  SAY_AT("send offer failed delete binding\n");
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  dhcp_delete_binding(binding, &pool);
  return ignored;
}

/// An address that is never acknowledged: also a client's own static one, which is only offered.
bool refused(DhcpPool& pool, uint32_t ip) {
  return in_conflict(ip) || excluded(ip) || dhcp_get_static_host_by_ip(&pool, ip) != nullptr;
}

/// Turns the client's offer or lease of `ip` into a lease from now on. False when there is none.
bool confirm_binding(const ClientKey& key, const DhcpPool& pool, uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  DhcpBinding* binding = find_binding(key, pool.pool_id, ip);
  if (binding == nullptr) return false;
  set_lifetime(*binding, pool.lease);
  binding->state = DHCPS_ACKNOWLEDGED;
  return true;
}

int on_request(Request& request, DhcpPool& pool) {
  SAY("dhcp request", "Receive dhcp request message\n");
  const auto option = request.requested_ip();
  uint32_t ip = option.value_or(0);
  if (ip == 0) ip = request.message().ciaddr();
  if (ip == 0) {
    SAY_AT("no request ip and no ciaddr, ignoring...\n");
    return ignored;
  }
  if (refused(pool, ip)) {
    SAY_AT("request ip is invalid...\n");
    return ignored;
  }
  if (confirm_binding(request.key(), pool, ip)) {
    send_ack(request, pool, ip);
  } else if (request.names_server() || option) {
    // A renewal that only names its address stays without an answer: another server may know the client.
    send_nack(request);
  }
  return handled;
}

int on_decline(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp decline", "Receive dhcp decline message\n");
  const auto ip = request.requested_ip();
  if (!request.names_server() || !ip) return handled;
  drop_binding(request.key(), pool, *ip);
  dhcp_add_conflict_ip(*ip);
  return handled;
}

int on_release(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp release", "Receive dhcp release message\n");
  if (request.names_server()) drop_binding(request.key(), pool, request.message().ciaddr());
  return handled;
}

int on_inform(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp inform", "Receive dhcp inform message\n");
  send_ack(request, pool, 0);
  return handled;
}

int on_message(Request& request, MessageType type, DhcpPool& pool, DhcpStaticHost* host) {
  switch (type) {
    case MessageType::discover: return on_discover(request, pool, host);
    case MessageType::request: return on_request(request, pool);
    case MessageType::decline: return on_decline(request, pool);
    case MessageType::release: return on_release(request, pool);
    case MessageType::inform: return on_inform(request, pool);
    case MessageType::offer:
    case MessageType::ack:
    case MessageType::nak: break;
  }
  return handled;
}

/// The message's type, or nothing when it has none of the eight.
std::optional<MessageType> type_of(const Request& request) {
  const uint8_t type = packet::byte_option(request.message(), packet::option::message_type).value_or(0);
  if (type < static_cast<uint8_t>(MessageType::discover) || type > static_cast<uint8_t>(MessageType::inform)) {
    return std::nullopt;
  }
  return static_cast<MessageType>(type);
}

int process(Request& request, skpack& skp) {
  DhcpPool* pool = request.pool();
  if (pool == nullptr) {
    // Nobody here serves the client; a server behind another port may.
    if (request.frame().destination().is_broadcast()) {
      __adp_transmit_frame(&skp, nullptr, static_cast<uint32_t>(request.vlan()),
                           static_cast<int>(packet::SendMode::flood));
    }
    return ignored;
  }
  DhcpStaticHost* host = dhcp_get_static_host(pool, request.message().client_mac().bytes.data());
  const auto type = type_of(request);
  if (!type) {
    SAY_AT("no or bad message type option, ignoring packet");
    return ignored;
  }
  if (request.for_other_server()) {
    SAY_AT("Server ID doesn't match ,ignoring...\n");
    return ignored;
  }
  return on_message(request, *type, *pool, host);
}

}  // namespace

}  // namespace dhcp::server

int dhcp_server_packet_process(skpack* skp) {
  auto request = dhcp::server::Request::open(*skp);
  if (!request) return -1;
  const dhcp::server::ServerLock lock;
  const dhcp::base::BusyGuard busy(dhcps_cfg.pools.busy);
  return dhcp::server::process(*request, *skp);
}
