/// What the server does with each message of a client (RFC 8415 section 18.3).
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

#include "base/log.h"
#include "base/os.h"
#include "packet/link_frame.h"
#include "server6/answer.h"
#include "server6/bindings.h"
#include "server6/counters.h"
#include "server6/relayed.h"

namespace dhcp::server6 {

namespace {

using packet::MessageType6;
namespace option6 = packet::option6;
namespace status6 = packet::status6;

/// A message whose client and pool are known.
struct Question {
  Request& request;
  Dhcp6Pool& pool;
  ClientId client;
  Dhcp6StaticHost* host;
  std::optional<packet::Ia6> ia;
  std::optional<Ip6> address;  // that the IA asks for
  bool names_server;           // this one, then
};

Dhcp6ServerVerdict sent_or_not(bool sent, Dhcp6ServerVerdict verdict) { return sent ? verdict : DHCP6S_NOT_SENT; }

Dhcp6ServerVerdict reply_address(Question& question, std::optional<uint16_t> status = std::nullopt) {
  const Answer answer{MessageType6::reply, &question.pool, &*question.address, status};
  return sent_or_not(send_answer(question.request, answer), DHCP6S_REPLIED);
}

Dhcp6ServerVerdict reply_no_address(Question& question, std::optional<uint16_t> status = std::nullopt) {
  const Answer answer{MessageType6::reply, &question.pool, nullptr, status};
  return sent_or_not(send_answer(question.request, answer), DHCP6S_REPLIED_NO_ADDRESS);
}

Dhcp6ServerVerdict reply_status(Question& question, uint16_t status, Dhcp6ServerVerdict verdict) {
  return sent_or_not(send_answer(question.request, {.type = MessageType6::reply, .status = status}), verdict);
}

/// Hands the client's binding of the address in question to `use`, under the bindings' word. False when there is none.
template <class Use>
bool with_binding(Question& question, Use use) {
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  Dhcp6Binding* binding = find_binding(question.client, question.pool, &*question.address);
  if (binding != nullptr) use(*binding);
  return binding != nullptr;
}

/// The lease runs from now on.
void renew(Dhcp6Binding& binding, const Dhcp6Pool& pool) {
  binding.preferred = pool.preferred;
  binding.valid = pool.valid;
  binding.time = base::now32();
  binding.state = DHCP6S_BOUND;
}

Dhcp6ServerVerdict on_solicit(Question& question) {
  if (question.names_server) return DHCP6S_SERVER_ID;
  SpareNode held = take_back(question.client, question.pool);
  const auto wanted = question.address || held == nullptr ? question.address : std::optional(address_of(*held));
  Ip6 ip;
  if (dhcp6_select_ip_addr(&question.pool, question.host, wanted ? wanted->bytes.data() : nullptr, ip.bytes.data()) <
      0) {
    return DHCP6S_NO_FREE_ADDRESS;
  }
  // First the binding, so that no address is promised that cannot be kept.
  Dhcp6Binding* binding = add_binding(question.client, question.pool, ip, std::move(held));
  if (binding == nullptr) return DHCP6S_NO_FREE_ADDRESS;
  if (send_answer(question.request, {MessageType6::advertise, &question.pool, &ip})) return DHCP6S_ADVERTISED;
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  delete_binding(*binding);
  return DHCP6S_NOT_SENT;
}

Dhcp6ServerVerdict on_request(Question& question) {
  if (!question.names_server) return DHCP6S_SERVER_ID;
  if (!question.address) return DHCP6S_NO_IA_ADDRESS;
  const bool leasable = dhcp6_request_ip_check(question.address->bytes.data()) == 0;
  const bool known = with_binding(question, [&](Dhcp6Binding& binding) {
    if (!leasable) return delete_binding(binding);
    binding.ia_type = question.ia->type;
    binding.iaid = question.ia->iaid();
    renew(binding, question.pool);
  });
  if (!known) return DHCP6S_NO_BINDING;
  return leasable ? reply_address(question) : DHCP6S_ADDRESS_TAKEN;
}

Dhcp6ServerVerdict on_confirm(Question& question) {
  if (!question.address) return DHCP6S_NO_IA_ADDRESS;
  if (with_binding(question, [](Dhcp6Binding&) {})) return reply_address(question, status6::success);
  if (in_pool(question.pool, *question.address)) return DHCP6S_NO_BINDING;
  return reply_status(question, status6::not_on_link, DHCP6S_REPLIED_NOT_ON_LINK);
}

/// RENEW and REBIND differ in whether they name a server.
Dhcp6ServerVerdict on_renewal(Question& question, bool must_name_server) {
  if (must_name_server && !question.names_server) return DHCP6S_SERVER_ID;
  if (!question.address) return DHCP6S_NO_IA_ADDRESS;
  const bool known = with_binding(question, [&](Dhcp6Binding& binding) { renew(binding, question.pool); });
  return known ? reply_address(question) : reply_no_address(question);
}

Dhcp6ServerVerdict on_giving_back(Question& question, bool in_use_by_another) {
  if (!question.names_server) return DHCP6S_SERVER_ID;
  if (!question.address) return DHCP6S_NO_IA_ADDRESS;
  const bool known = with_binding(question, delete_binding);
  if (in_use_by_another) dhcp6_add_conflict_ip(question.address->bytes.data());
  return known ? reply_status(question, status6::success, DHCP6S_REPLIED_SUCCESS)
               : reply_no_address(question, status6::success);
}

Dhcp6ServerVerdict on_message(Question& question) {
  switch (static_cast<MessageType6>(question.request.message().type())) {
    case MessageType6::solicit: return on_solicit(question);
    case MessageType6::request: return on_request(question);
    case MessageType6::confirm: return on_confirm(question);
    case MessageType6::renew: return on_renewal(question, true);
    case MessageType6::rebind: return on_renewal(question, false);
    case MessageType6::release: return on_giving_back(question, false);
    case MessageType6::decline: return on_giving_back(question, true);
    default: return DHCP6S_OTHER_TYPE;
  }
}

Dhcp6ServerVerdict handle(Request& request, Dhcp6Pool& pool) {
  const auto client = request.option(option6::client_id);
  if (!client) return DHCP6S_NO_CLIENT_ID;
  // Behind a relay this is the relay's MAC.
  Dhcp6StaticHost* host = dhcp6_get_static_host(&pool, request.received().source().bytes.data());
  const auto server = request.option(option6::server_id);
  if (server && !std::ranges::equal(*server, server_id())) return DHCP6S_OTHER_SERVER;
  Question question{request,           pool, *client, host, packet::find_ia6(request.message().options()), {},
                    server.has_value()};
  if (question.ia) {
    if (const auto address = question.ia->whole_address()) question.address = address->ip;
  }
  return on_message(question);
}

using WorkCopy = std::unique_ptr<uint8_t[]>;

/// Takes the client's message out of the relay's, into a work copy. False when there is none.
bool unwrap(Request& request, skpack& skp, WorkCopy& work) {
  work.reset(new (std::nothrow) uint8_t[work_size]);
  if (work == nullptr) {
    fprintf(stderr, "malloc failed for dhcpv6 server relay modify packet\n");
    return false;
  }
  skpack inner{};
  if (dhcp6_server_relay_pkt_mod(&skp, work.get(), &inner) != 0) return false;
  const auto message = packet::message6_in(inner);
  if (message) request.carries(*message);
  return message.has_value();
}

Dhcp6ServerVerdict process(Request& request, skpack& skp, WorkCopy& work) {
  Dhcp6Pool* pool = request.pool();
  if (pool == nullptr) return DHCP6S_NO_POOL;
  if (request.from_relay() && !unwrap(request, skp, work)) return DHCP6S_BAD_RELAY;
  return handle(request, *pool);
}

/// True for a message that was handled by its type, whatever came of it.
bool reached_its_type(Dhcp6ServerVerdict verdict) {
  switch (verdict) {
    case DHCP6S_UNTAGGED:
    case DHCP6S_MALFORMED:
    case DHCP6S_NO_POOL:
    case DHCP6S_BAD_RELAY:
    case DHCP6S_NO_CLIENT_ID:
    case DHCP6S_OTHER_SERVER: return false;
    default: return true;
  }
}

int conclude(const skpack& skp, Dhcp6ServerVerdict verdict, uint8_t type) {
  frame_counts.count(skp.in_intf, verdict, type);
  constexpr const char* speaker = "dhcp6_server_packet_process";
  DHCP_LOG_FROM(speaker, __LINE__, 7, base::module_frame, "dhcpc", "[%s:%d]packet,message_type(%d): %s\n", speaker,
                __LINE__, type, dhcp6_server_verdict_name(verdict));
  return reached_its_type(verdict) ? 0 : -1;
}

}  // namespace

}  // namespace dhcp::server6

int dhcp6_server_packet_process(skpack* skp) {
  using namespace dhcp;
  const auto link = packet::LinkFrame::parse(*skp);
  if (link && !link->tagged()) {
    fprintf(stderr, "vlan is null!\n");
    return server6::conclude(*skp, DHCP6S_UNTAGGED, 0);
  }
  const auto frame = packet::Frame6::parse(*skp);
  if (!frame) return server6::conclude(*skp, DHCP6S_MALFORMED, 0);
  const server6::PoolsLock lock;
  server6::WorkCopy work;
  server6::Request request(*frame);
  const Dhcp6ServerVerdict verdict = server6::process(request, *skp, work);
  return server6::conclude(*skp, verdict, request.message().type());
}
