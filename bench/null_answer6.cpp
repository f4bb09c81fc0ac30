/// What the null server says to DHCPv6 and neighbour solicitations.
#include <algorithm>

#include "bench/client_frames6.h"
#include "bench/neighbour6.h"
#include "bench/null_answer.h"

namespace dhcp::bench {

using packet::load_be16;
namespace ip6 = packet::ip6;
namespace relay = packet::relay6;
namespace udp = packet::udp;

namespace {

constexpr Address6 own_address{0xfd, 0, 0, 0, 0, 0, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr uint8_t own_duid[] = {0, 3, 0, 1, 0x02, 0xbe, 0x5e, 0, 0, 1};
constexpr uint32_t preferred_s = 43200, valid_s = 86400;

/// A client's message, bare or in a Relay-forward, as far as the answer depends on it. All of it lies in the frame.
struct Question {
  std::span<const uint8_t> message, relayed_by, interface;
  std::span<const uint8_t> client, server, ia;
};

bool read_question(std::span<const uint8_t> message, Question& question) {
  if (message.size() < packet::dhcp6::header_size) return false;
  question.message = message;
  each_option6(message.subspan(packet::dhcp6::header_size), [&](uint16_t code, std::span<const uint8_t> value) {
    if (code == option6_client) question.client = value;
    if (code == option6_server) question.server = value;
    if (code == option6_ia && value.size() >= 12) question.ia = value;
  });
  const bool for_us = question.server.empty() || std::ranges::equal(question.server, own_duid);
  return for_us && (message[0] == solicit || message[0] == request6) && !question.ia.empty();
}

bool read_frame(std::span<const uint8_t> frame, Question& question) {
  const auto message = frame.subspan(frame6_dhcp);
  if (message[0] != relay_forw) return read_question(message, question);
  if (message.size() < relay::header_size) return false;
  question.relayed_by = message.first(relay::header_size);
  std::span<const uint8_t> carried;
  each_option6(message.subspan(relay::header_size), [&](uint16_t code, std::span<const uint8_t> value) {
    if (code == option6_relayed) carried = value;
    if (code == option6_interface) question.interface = value;
  });
  return read_question(carried, question);
}

/// The address of a client is told from its IAID, which the load tells from the MAC.
void put_answer(const Question& question, Frame6Writer& out) {
  std::array<uint8_t, 24> lease{0xfd, 0, 0, 0, 0, 0, 0, 0x10};
  std::copy_n(question.ia.begin(), 4, lease.begin() + 12);
  packet::store_be32(&lease[16], preferred_s);
  packet::store_be32(&lease[20], valid_s);
  out.option(option6_client, question.client);
  out.option(option6_server, own_duid);
  const size_t opened = out.open(option6_ia);
  out.put(question.ia.first(12));
  out.option(option6_address, lease);
  out.close(opened);
}

std::span<const uint8_t> answer_dhcp6(std::span<const uint8_t> frame, const Question& question, AnswerFrame& out) {
  const auto& message = question.message;
  const uint8_t type = message[0] == solicit ? advertise : reply6;
  const uint8_t header[] = {type, message[1], message[2], message[3]};
  Frame6Writer writer;
  uint16_t port = udp::port_client6;
  if (question.relayed_by.empty()) {
    writer.begin(header);
    put_answer(question, writer);
  } else {
    std::array<uint8_t, relay::header_size> relayed_by{};
    std::ranges::copy(question.relayed_by, relayed_by.begin());
    relayed_by[0] = relay_repl;
    writer.begin(relayed_by);
    if (!question.interface.empty()) writer.option(option6_interface, question.interface);
    const size_t opened = writer.open(option6_relayed);
    writer.put(header);
    put_answer(question, writer);
    writer.close(opened);
    port = udp::port_server6;
  }
  const auto sealed = writer.sealed({null_server_mac, own_address.data(), udp::port_server6},
                                    {&frame[6], &frame[frame6_ip + ip6::source.offset], port});
  std::ranges::copy(sealed, out.begin());
  return std::span(out).first(sealed.size());
}

}  // namespace

std::span<const uint8_t> answer6(std::span<const uint8_t> frame, AnswerFrame& out, Answered& counts) {
  if (solicited(frame) == own_address) {
    NeighbourFrame advertisement;
    const auto sealed = advertise_neighbour(frame, base::MacAddress::from(null_server_mac), advertisement);
    std::ranges::copy(sealed, out.begin());
    return std::span(out).first(sealed.size());
  }
  if (!is_udp6(frame, udp::port_server6)) return {};
  Question question;
  if (!read_frame(frame, question)) return {};
  ++counts.all;
  if (!question.relayed_by.empty()) ++counts.with_agent;
  return answer_dhcp6(frame, question, out);
}

}  // namespace dhcp::bench
