/// What the server does with each message of a client (RFC 2131 section 4.3).
#include <utility>

#include "base/log.h"
#include "base/os.h"
#include "packet/egress.h"
#include "server/bindings.h"
#include "server/conflicts.h"
#include "server/counters.h"
#include "server/reply.h"
#include "server/request.h"

namespace dhcp::server {

namespace {

using packet::MessageType;

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

DhcpServerVerdict on_discover(Request& request, DhcpPool& pool, DhcpStaticHost* host) {
  SAY_AT("Receive dhcp discover message\n");
  const ClientKey key = request.key();
  SpareNode held = take_back(key, pool);
  if (held != nullptr) SAY_AT("delete binding pool_id[%d]\n", static_cast<int>(pool.pool_id));
  const uint32_t wanted = request.requested_ip().value_or(held != nullptr ? address_of(*held) : 0);

  SAY_AT("select ip address\n");
  const uint32_t ip = dhcp_select_ip_addr(&pool, host, wanted);
  if (ip == 0) {
    SAY_AT("No free address available in the pool %d\n", static_cast<int>(pool.pool_id));
    return DHCPS_VERDICT_NO_FREE_ADDRESS;
  }
  SAY_AT("add binding\n");
  DhcpBinding* binding = add_binding(key, request.message().xid(), pool, ip, std::move(held));
  if (binding == nullptr) return DHCPS_VERDICT_TABLE_FULL;
  SAY_AT("send offer\n");
  if (send_offer(request, pool, ip) == 0) return DHCPS_VERDICT_OFFERED;

  SAY_AT("send offer failed delete binding\n");
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  dhcp_delete_binding(binding, &pool);
  return DHCPS_VERDICT_NOT_SENT;
}

/// End of a lease that begins now. A long one ends just short of the value that means never.
uint32_t lease_end(uint32_t lease) {
  if (lease == infinite_lease) return infinite_lease;
  const uint64_t end = uint64_t{base::now32()} + lease;
  return end < infinite_lease ? static_cast<uint32_t>(end) : infinite_lease - 1;
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
  binding->expire = lease_end(pool.lease);
  binding->state = DHCPS_ACKNOWLEDGED;
  return true;
}

DhcpServerVerdict sent_or_not(int result, DhcpServerVerdict verdict) {
  return result == 0 ? verdict : DHCPS_VERDICT_NOT_SENT;
}

DhcpServerVerdict on_request(Request& request, DhcpPool& pool) {
  SAY("dhcp request", "Receive dhcp request message\n");
  const auto option = request.requested_ip();
  uint32_t ip = option.value_or(0);
  if (ip == 0) ip = request.message().ciaddr();
  if (ip == 0) {
    SAY_AT("no request ip and no ciaddr, ignoring...\n");
    return DHCPS_VERDICT_NO_ADDRESS;
  }
  if (refused(pool, ip)) {
    SAY_AT("request ip is invalid...\n");
    return DHCPS_VERDICT_NOT_LEASABLE;
  }
  if (confirm_binding(request.key(), pool, ip)) {
    return sent_or_not(send_ack(request, pool, ip), DHCPS_VERDICT_ACKNOWLEDGED);
  }
  // A renewal that only names its address stays without an answer: another server may know the client.
  if (!request.names_server() && !option) return DHCPS_VERDICT_UNKNOWN_CLIENT;
  return sent_or_not(send_nack(request), DHCPS_VERDICT_REFUSED);
}

DhcpServerVerdict on_decline(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp decline", "Receive dhcp decline message\n");
  const auto ip = request.requested_ip();
  if (!request.names_server()) return DHCPS_VERDICT_NO_SERVER_ID;
  if (!ip) return DHCPS_VERDICT_NO_ADDRESS;
  drop_binding(request.key(), pool, *ip);
  dhcp_add_conflict_ip(*ip);
  return DHCPS_VERDICT_DECLINED;
}

DhcpServerVerdict on_release(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp release", "Receive dhcp release message\n");
  if (!request.names_server()) return DHCPS_VERDICT_NO_SERVER_ID;
  drop_binding(request.key(), pool, request.message().ciaddr());
  return DHCPS_VERDICT_RELEASED;
}

DhcpServerVerdict on_inform(Request& request, DhcpPool& pool) {
  SAY_AT_SPACED("dhcp inform", "Receive dhcp inform message\n");
  return sent_or_not(send_ack(request, pool, 0), DHCPS_VERDICT_ACKNOWLEDGED);
}

DhcpServerVerdict on_message(Request& request, MessageType type, DhcpPool& pool, DhcpStaticHost* host) {
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
  return DHCPS_VERDICT_OTHER_TYPE;
}

bool known_type(uint8_t type) {
  return type >= static_cast<uint8_t>(MessageType::discover) && type <= static_cast<uint8_t>(MessageType::inform);
}

DhcpServerVerdict process(Request& request, uint8_t type, skpack& skp) {
  DhcpPool* pool = request.pool();
  if (pool == nullptr) {
    // Nobody here serves the client; a server behind another port may.
    if (request.frame().destination().is_broadcast()) {
      packet::transmit(skp, nullptr, static_cast<uint32_t>(request.vlan()), packet::SendMode::flood);
    }
    return DHCPS_VERDICT_NO_POOL;
  }
  DhcpStaticHost* host = dhcp_get_static_host(pool, request.message().client_mac().bytes.data());
  if (!known_type(type)) {
    SAY_AT("no or bad message type option, ignoring packet");
    return DHCPS_VERDICT_NO_MESSAGE_TYPE;
  }
  if (request.for_other_server()) {
    SAY_AT("Server ID doesn't match ,ignoring...\n");
    return DHCPS_VERDICT_OTHER_SERVER;
  }
  return on_message(request, static_cast<MessageType>(type), *pool, host);
}

/// What the dispatcher is told: whether the message was handled by its type.
int result_of(DhcpServerVerdict verdict, uint8_t type) {
  switch (verdict) {
    case DHCPS_VERDICT_NO_ADDRESS: return type == static_cast<uint8_t>(MessageType::request) ? -1 : 0;
    case DHCPS_VERDICT_NOT_SENT: return type == static_cast<uint8_t>(MessageType::discover) ? -1 : 0;
    case DHCPS_VERDICT_MALFORMED:
    case DHCPS_VERDICT_UNTAGGED:
    case DHCPS_VERDICT_NO_POOL:
    case DHCPS_VERDICT_NO_MESSAGE_TYPE:
    case DHCPS_VERDICT_OTHER_SERVER:
    case DHCPS_VERDICT_NO_FREE_ADDRESS:
    case DHCPS_VERDICT_TABLE_FULL:
    case DHCPS_VERDICT_NOT_LEASABLE: return -1;
    default: return 0;
  }
}

int conclude(const skpack& skp, DhcpServerVerdict verdict, uint8_t type) {
  frame_counts.count(skp.in_intf, verdict, type);
  return result_of(verdict, type);
}

}  // namespace

}  // namespace dhcp::server

int dhcp_server_packet_process(skpack* skp) {
  using namespace dhcp;
  auto request = server::Request::open(*skp);
  if (!request) {
    const auto link = packet::LinkFrame::parse(*skp);
    return server::conclude(*skp, link && !link->tagged() ? DHCPS_VERDICT_UNTAGGED : DHCPS_VERDICT_MALFORMED, 0);
  }
  const server::ServerLock lock;
  const base::BusyGuard busy(dhcps_cfg.pools.busy);
  const uint8_t type = packet::message_type_of(request->message());
  return server::conclude(*skp, server::process(*request, type, *skp), type);
}
