/// Answers of servers (RFC 8415 section 18.2.10), on the dispatch task: which interface waits for them, what they say.
#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

#include "base/log.h"
#include "client6/client6.h"
#include "client6/counters.h"
#include "packet/frame6.h"
#include "packet/kept_option6.h"

namespace dhcp::client6 {

namespace {

using packet::MessageType6;
namespace option6 = packet::option6;
using Bytes = std::span<uint8_t>;

constexpr uint16_t option_prefix_length = 26;
constexpr int32_t no_more_tries = 10;  // ticks on top of which neither RENEW nor REBIND is sent

/// An answer with the three options that every one must carry.
struct Answer {
  const packet::Frame6& frame;
  Bytes options, client_id, server_id;
  packet::Ia6 ia;

  bool is(MessageType6 type) const { return frame.message().is(type); }
};

Dhcp6cVerdict missing(const char* text) {
  DHCP_LOG(base::module_frame, "dhcpc", "%s", text);
  return DHCP6C_NO_OPTION;
}

bool same(Bytes a, Bytes b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); }

/// The interface that waits for this answer: its VLAN, its identifier, its transaction.
Dhcp6cInterfaceNode* find_waiting(const Answer& answer) {
  const uint16_t vlan = answer.frame.vlan();
  const uint32_t xid = answer.frame.message().transaction_id();
  const uint32_t first_word = uint32_t{answer.frame.message().type()} << 24 | xid;
  for (Dhcp6cInterfaceNode& node : nodes()) {
    DHCP_LOG(base::module_frame, "dhcpc", "vlan = %d %d xid = %x %x %x\n", vlan, node.vlan, xid, node.xid, first_word);
    const Bytes own_id = packet::kept_option6(node.client_id).value;
    if (node.vlan == vlan && node.xid == xid && same(own_id, answer.client_id)) return &node;
  }
  return nullptr;
}

/// True for a status other than Success at the message's own level (RFC 8415 section 21.13).
bool reports_failure(Bytes options) {
  const auto status = packet::find_option6(options, option6::status_code);
  return status && status->size() >= 2 && packet::load_be16(status->data()) != packet::status6::success;
}

/// The server has nothing for the interface: one that renews waits for its next state, any other begins anew.
Dhcp6cVerdict refused(Dhcp6cInterfaceNode& node) {
  keep(node.address, nullptr);
  if (node.state == DHCPC6_RENEW || node.state == DHCPC6_REBIND) {
    node.ticks += no_more_tries;
  } else {
    begin_anew(node);
  }
  return DHCP6C_REFUSED;
}

/// Keeps who answered and what is offered. All copies are made before the first is put in place: an answer for which
/// there is no memory changes nothing.
bool keep_answer(Dhcp6cInterfaceNode& node, const Answer& answer) {
  auto server_id = packet::keep_option6(option6::server_id, answer.server_id);
  auto ia = packet::keep_ia_na6(answer.ia);
  if (server_id == nullptr || ia == nullptr) return false;
  const auto offered = packet::kept_ia6(ia.get())->address;
  std::unique_ptr<uint8_t[]> address(offered ? new (std::nothrow) uint8_t[sizeof offered->ip.bytes] : nullptr);
  if (offered && address == nullptr) return false;

  if (offered) {
    offered->ip.copy_to(address.get());
    node.valid_lifetime = offered->valid;
    DHCP_LOG(base::module_frame, "dhcpc", "dhcp6c_client valid_time :%d  %d\n", static_cast<int>(offered->valid),
             static_cast<int>(node.valid_lifetime));
  }
  keep(node.server_id, std::move(server_id));
  keep(node.ia, std::move(ia));
  keep(node.address, std::move(address));
  node.t1 = answer.ia.t1();
  node.t2 = answer.ia.t2();
  answer.frame.ip_source().copy_to(node.server_ip6);
  const auto mac = answer.frame.source();
  std::copy(mac.bytes.begin(), mac.bytes.end(), node.server_mac);
  return true;
}

void keep_dns_servers(Dhcp6cInterfaceNode& node, Bytes options) {
  const auto servers = packet::find_option6(options, option6::dns_servers);
  if (!servers) return;
  constexpr size_t size = sizeof node.dns[0];
  DHCP_LOG(base::module_frame, "dhcpc", "dns_len = %d unit:%d\n", static_cast<int>(servers->size()),
           static_cast<int>(size));
  const size_t count = std::min<size_t>(servers->size() / size, DHCP6C_DNS_SERVERS);
  std::copy_n(servers->begin(), count * size, &node.dns[0][0]);
}

Dhcp6cVerdict advertised(Dhcp6cInterfaceNode& node, const Answer& answer) {
  // A late one must not disturb what the interface holds by then.
  if (node.state != DHCPC6_INIT) return DHCP6C_NOT_AWAITED;
  if (!keep_answer(node, answer)) return DHCP6C_NO_MEMORY;
  node.state = DHCPC6_REQUESTING;
  return DHCP6C_ADVERTISE_TAKEN;
}

Dhcp6cVerdict replied(Dhcp6cInterfaceNode& node, const Answer& answer) {
  if (reports_failure(answer.options)) return refused(node);
  if (!keep_answer(node, answer)) return DHCP6C_NO_MEMORY;
  keep_dns_servers(node, answer.options);
  const auto prefix = packet::find_option6(answer.options, option_prefix_length);
  if (prefix && !prefix->empty()) node.prefix_len = prefix->front();
  if (node.state != DHCPC6_REQUESTING && node.state != DHCPC6_RENEW && node.state != DHCPC6_REBIND) {
    return DHCP6C_NOT_AWAITED;
  }
  node.state = DHCPC6_BOUND;
  node.installed = 0;  // the task's next pass installs it
  return DHCP6C_REPLY_TAKEN;
}

Dhcp6cVerdict take(const packet::Frame6& frame) {
  const Bytes options = frame.message().options();
  const auto client_id = packet::find_option6(options, option6::client_id);
  if (!client_id) return missing("Cannot find client identifier option in packet\n");
  const auto server_id = packet::find_option6(options, option6::server_id);
  if (!server_id) return missing("Cannot find server identifier option in packet\n");
  const auto ia = packet::find_ia6(options);
  if (!ia || ia->type != option6::ia_na || !ia->whole()) return missing("Cannot find ia na option in packet\n");
  const Answer answer{frame, options, *client_id, *server_id, *ia};

  const base::BusyGuard busy(dhcpc6_golbal_config.busy);
  Dhcp6cInterfaceNode* node = find_waiting(answer);
  if (node == nullptr) return DHCP6C_NOT_OURS;
  return answer.is(MessageType6::reply) ? replied(*node, answer) : advertised(*node, answer);
}

/// `type` becomes that of the message, as soon as there is one.
Dhcp6cVerdict receive(const skpack& skp, uint8_t& type) {
  DHCP_LOG(base::module_frame, "dhcpc", "dhcpv6 packet process enter..");
  const auto link = packet::LinkFrame::parse(skp);
  if (!link || !link->tagged()) {
    fprintf(stderr, "vlan is null!\n");
    return DHCP6C_MALFORMED;
  }
  const auto frame = packet::Frame6::parse(skp);
  if (!frame) {
    fprintf(stderr, "udp header is NULL!");
    return DHCP6C_MALFORMED;
  }
  const auto& message = frame->message();
  type = message.type();
  DHCP_LOG(base::module_frame, "dhcpc", "Receive dhcp message type = %d\n", type);
  if (!message.is(MessageType6::advertise) && !message.is(MessageType6::reply)) return DHCP6C_OTHER_TYPE;
  if (dhcpc6_golbal_config.node_count == 0) return DHCP6C_NO_INTERFACE;
  return take(*frame);
}

}  // namespace

}  // namespace dhcp::client6

int dhcp6_client_packet_process(skpack* skp) {
  uint8_t type = 0;
  const Dhcp6cVerdict verdict = dhcp::client6::receive(*skp, type);
  dhcp::client6::frame_counts.count(skp->in_intf, verdict, type);
  return verdict == DHCP6C_OTHER_TYPE || verdict == DHCP6C_NO_INTERFACE ? 0 : -1;
}
