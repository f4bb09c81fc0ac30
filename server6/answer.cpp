#include "server6/answer.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/link_local.h"
#include "packet/carried6.h"
#include "packet/datagram6.h"
#include "packet/egress.h"
#include "server6/own.h"

namespace dhcp::server6 {

namespace {

using packet::MessageType6;
using packet::OptionWriter6;
namespace option6 = packet::option6;

std::array<uint8_t, packet::dhcp6::header_size + packet::options6_limit> message_buffer;
std::array<uint8_t, packet::datagram6_room> frame_room;

/// The client's first IA, as it is answered. False when there is none that can be.
bool add_ia(OptionWriter6& writer, const Request& request, const Dhcp6Pool& pool, const Ip6* ip) {
  const auto ia = packet::find_ia6(request.message().options());
  if (!ia) fprintf(stderr, "%s: opt data not found!\n", "_dhcp6_add_ia_option");
  if (!ia || !ia->whole()) return false;
  if (ip == nullptr) {
    packet::add_ia6_status(writer, ia->type, ia->iaid(), packet::status6::no_addrs_avail);
  } else {
    // 32 bits, so that the product of a long lifetime wraps: an infinite one is renewed after 27 years.
    const uint32_t t1 = pool.preferred / 2, t2 = pool.preferred * 4 / 5;
    packet::add_ia6(writer, ia->type, ia->iaid(), t1, t2, {*ip, pool.preferred, pool.valid});
  }
  return true;
}

void add_pool_options(OptionWriter6& writer, const Dhcp6Pool& pool) {
  if (pool.domain_count > 0) {
    std::array<const char*, DHCP6S_MAX_DOMAIN_NAMES> names{};
    std::copy_n(pool.domain, pool.domain_count, names.begin());
    packet::add_domain_list6(writer, std::span(names).first(static_cast<size_t>(pool.domain_count)));
  }
  if (pool.dns_count > 0) {
    writer.add(option6::dns_servers, std::span(pool.dns[0], static_cast<size_t>(pool.dns_count) * sizeof pool.dns[0]));
  }
}

/// The message in the buffer; empty when it cannot be made.
std::span<const uint8_t> build(const Request& request, const Answer& answer) {
  const auto client_id = request.option(option6::client_id);
  if (!client_id) return {};
  packet::begin_message6(message_buffer, answer.type, request.message().transaction_id());
  OptionWriter6 writer(message_buffer);
  writer.add(option6::client_id, *client_id);
  writer.add(option6::server_id, server_id());
  if (answer.pool != nullptr) {
    if (!add_ia(writer, request, *answer.pool, answer.ip)) return {};
    add_pool_options(writer, *answer.pool);
  }
  if (answer.status) writer.add_u16(option6::status_code, *answer.status);
  if (!writer.ok()) return {};
  return std::span(message_buffer).first(writer.message_size());
}

/// Completes the frame around the message that stands in its room, and sends it to the asker. An asker whose port the
/// device does not know gets nothing.
bool send_frame(Request& request, size_t message_size, uint16_t to_port) {
  const auto mac = own_mac();
  if (!mac) return false;
  const auto& asker = request.received();
  const auto frame = packet::finish_datagram6(frame_room, message_size,
                                              {.to_mac = asker.source(),
                                               .from_mac = *mac,
                                               .vlan = asker.vlan(),
                                               .from = request.own() ? request.own()->ip : base::link_local(*mac),
                                               .to = asker.ip_source(),
                                               .from_port = packet::udp::port_server6,
                                               .to_port = to_port});
  if (frame.empty()) return false;
  packet::send_to_mac(frame, asker.source(), asker.vlan(), packet::SendMode::snooped);
  return true;
}

}  // namespace

bool send_to_client(Request& request, std::span<const uint8_t> message) {
  const auto room = packet::datagram6_message(frame_room);
  if (message.size() > room.size()) return false;
  std::copy(message.begin(), message.end(), room.begin());
  return send_frame(request, message.size(), packet::udp::port_client6);
}

bool send_to_relay(Request& request, std::span<const uint8_t> message) {
  const auto relay = request.received().relay_message();
  if (!relay) return false;
  const auto room = packet::datagram6_message(frame_room);
  // Hop count, link and peer go back as they came (RFC 8415 section 19.3).
  const size_t size = packet::put_relay_message(room, MessageType6::relay_reply, relay->hop_count(),
                                                relay->addresses().first<32>(), message);
  if (size == 0) return false;
  OptionWriter6 writer(room, packet::relay6::header_size, size - packet::relay6::header_size);
  if (const auto id = packet::find_option6(relay->options(), option6::interface_id)) {
    writer.add(option6::interface_id, *id);
  }
  return writer.ok() && send_frame(request, writer.message_size(), packet::udp::port_server6);
}

bool send_answer(Request& request, const Answer& answer) {
  const auto message = build(request, answer);
  if (message.empty()) return false;
  return request.carried() ? send_to_relay(request, message) : send_to_client(request, message);
}

}  // namespace dhcp::server6

using namespace dhcp::server6;
using dhcp::packet::MessageType6;

namespace {

/// An answer that the host asks for; `ip6` may be null.
int send_for_host(const skpack& skp, const skpack* relay_frame, Answer answer, const uint8_t* ip6) {
  auto request = Request::open(skp, relay_frame);
  if (!request) return -1;
  const Ip6 ip = ip6 != nullptr ? Ip6::from(ip6) : Ip6{};
  if (ip6 != nullptr) answer.ip = &ip;
  return send_answer(*request, answer) ? 0 : -1;
}

std::optional<uint16_t> status_of(int status) {
  return status >= 0 ? std::optional(static_cast<uint16_t>(status)) : std::nullopt;
}

}  // namespace

int dhcp6s_send_advertise(skpack* skp, Dhcp6Pool* pool, const uint8_t ip6[16], skpack* relay_frame) {
  return send_for_host(*skp, relay_frame, {.type = MessageType6::advertise, .pool = pool}, ip6);
}

int dhcp6s_send_reply(skpack* skp, Dhcp6Pool* pool, const uint8_t* ip6, skpack* relay_frame, int status) {
  return send_for_host(*skp, relay_frame, {.type = MessageType6::reply, .pool = pool, .status = status_of(status)},
                       ip6);
}

int dhcp6s_send_status_reply(skpack* skp, int status, skpack* relay_frame) {
  return send_for_host(*skp, relay_frame, {.type = MessageType6::reply, .status = status_of(status)}, nullptr);
}

int dhcp6s_send_relay_reply(skpack* relay_frame, const uint8_t* message, int len) {
  auto request = Request::open(*relay_frame, nullptr);
  if (!request || len < 0) return -1;
  return send_to_relay(*request, {message, static_cast<size_t>(len)}) ? 0 : -1;
}

int dhcp6s_send_packet(skpack* skp, const uint8_t* message, int len) {
  auto request = Request::open(*skp, nullptr);
  if (!request || len < 0) return -1;
  return send_to_client(*request, {message, static_cast<size_t>(len)}) ? 0 : -1;
}
