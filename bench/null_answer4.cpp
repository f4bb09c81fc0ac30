/// What the null server says to DHCPv4 and ARP.
#include <algorithm>
#include <cstring>

#include "bench/client_frames.h"
#include "bench/null_answer.h"
#include "bench/options.h"
#include "packet/bytes.h"

namespace dhcp::bench {

using packet::load_be16;
using packet::load_be32;
using packet::store_be16;
using packet::store_be32;
namespace dhcp4 = packet::dhcp4;
namespace eth = packet::eth;
namespace ip4 = packet::ip4;
namespace udp = packet::udp;

namespace {

constexpr uint8_t type_discover = 1, type_offer = 2, type_request = 3, type_ack = 5;
constexpr uint32_t own_address = 0x0a000001, first_address = 0x0a010000, mask = 0xff000000, lease_s = 86400;
constexpr size_t smallest_message = client_frame_size - frame_dhcp;
// Type, server, lease time, mask, the longest option 82, end.
constexpr size_t largest_message = dhcp4::fixed_size + 3 + 3 * 6 + 257 + 1;

// An ARP frame (RFC 826).
constexpr uint16_t type_arp = 0x0806;
constexpr size_t arp_operation = 20, arp_sender = 22, arp_sender_ip = 28, arp_target = 32, arp_target_ip = 38,
                 arp_size = 42;

/// What a client's frame says, as far as the answer depends on it. `message` and `agent` lie in the frame.
struct Question {
  uint8_t type = 0;
  uint32_t server = own_address;
  std::span<const uint8_t> message, agent;
};

bool from_client(std::span<const uint8_t> frame) {
  return frame.size() >= frame_dhcp + dhcp4::fixed_size && load_be16(&frame[12]) == eth::type_ipv4 &&
         frame[frame_ip] == 0x45 && frame[frame_ip + ip4::protocol.offset] == ip4::protocol_udp &&
         load_be16(&frame[frame_udp + udp::destination.offset]) == udp::port_server &&
         frame[frame_dhcp + dhcp4::op.offset] == dhcp4::boot_request;
}

Question read_question(std::span<const uint8_t> frame) {
  Question question;
  question.message = frame.subspan(frame_dhcp);
  each_option(question.message.subspan(dhcp4::fixed_size), [&](uint8_t code, std::span<const uint8_t> value) {
    if (code == option_type && value.size() == 1) question.type = value[0];
    if (code == option_server && value.size() == 4) question.server = load_be32(value.data());
    if (code == option_agent) question.agent = value;
  });
  return question;
}

uint8_t* put(uint8_t* at, uint8_t code, std::span<const uint8_t> value) {
  *at++ = code;
  *at++ = static_cast<uint8_t>(value.size());
  return std::copy(value.begin(), value.end(), at);
}

uint8_t* put(uint8_t* at, uint8_t code, uint32_t value) {
  uint8_t bytes[4];
  store_be32(bytes, value);
  return put(at, code, bytes);
}

/// The DHCP message of the answer; its size.
size_t put_message(const Question& question, uint8_t type, uint32_t address, uint8_t* message) {
  memset(message, 0, largest_message);
  // What identifies the client and its exchange comes back as it came.
  for (const auto& field : {dhcp4::htype, dhcp4::hlen, dhcp4::xid, dhcp4::flags, dhcp4::giaddr, dhcp4::chaddr}) {
    std::copy_n(&question.message[field.offset], field.size, message + field.offset);
  }
  message[dhcp4::op.offset] = dhcp4::boot_reply;
  store_be32(message + dhcp4::yiaddr.offset, address);
  store_be32(message + dhcp4::cookie.offset, dhcp4::magic_cookie);
  uint8_t* at = put(message + dhcp4::options.offset, option_type, std::span(&type, 1));
  at = put(at, option_server, own_address);
  at = put(at, option_lease, lease_s);
  at = put(at, option_mask, mask);
  if (!question.agent.empty()) at = put(at, option_agent, question.agent);
  *at++ = option_end;
  return std::max(static_cast<size_t>(at - message), smallest_message);
}

/// The IPv4 header's own checksum (RFC 791).
void put_header_checksum(uint8_t* ip) {
  uint32_t sum = 0;
  for (size_t at = 0; at < ip4::header_size; at += 2) sum += load_be16(ip + at);
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  store_be16(ip + ip4::checksum.offset, static_cast<uint16_t>(~sum));
}

/// Where an answer goes (RFC 2131 section 4.1).
struct Destination {
  const uint8_t* mac;
  uint32_t address;
  uint16_t port;
};

constexpr uint8_t everybody[] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};

Destination destination(std::span<const uint8_t> frame, const Question& question, uint32_t client_address) {
  const uint32_t agent = load_be32(&question.message[dhcp4::giaddr.offset]);
  if (agent != 0) return {&frame[6], agent, udp::port_server};
  const bool broadcast = (load_be16(&question.message[dhcp4::flags.offset]) & dhcp4::broadcast_flag) != 0;
  if (broadcast) return {everybody, ip4::broadcast, udp::port_client};
  return {&question.message[dhcp4::chaddr.offset], client_address, udp::port_client};
}

/// Headers of a server's message of `size` bytes. No UDP checksum (RFC 768).
void put_headers(uint8_t* frame, const Destination& to, size_t size) {
  memset(frame, 0, frame_dhcp);
  memcpy(frame, to.mac, 6);
  memcpy(frame + 6, null_server_mac, 6);
  store_be16(frame + 12, eth::type_ipv4);
  uint8_t* ip = frame + frame_ip;
  ip[ip4::version_ihl.offset] = 0x45;
  store_be16(ip + ip4::total_length.offset, static_cast<uint16_t>(ip4::header_size + udp::header_size + size));
  ip[ip4::ttl.offset] = 64;
  ip[ip4::protocol.offset] = ip4::protocol_udp;
  store_be32(ip + ip4::source.offset, own_address);
  store_be32(ip + ip4::destination.offset, to.address);
  put_header_checksum(ip);
  uint8_t* udp_header = frame + frame_udp;
  store_be16(udp_header + udp::source.offset, udp::port_server);
  store_be16(udp_header + udp::destination.offset, to.port);
  store_be16(udp_header + udp::length.offset, static_cast<uint16_t>(udp::header_size + size));
}

/// The ARP answer, written into `out`; empty when this is no question for the server's MAC.
std::span<const uint8_t> answer_arp(std::span<const uint8_t> frame, AnswerFrame& out) {
  if (frame.size() < arp_size || load_be16(&frame[12]) != type_arp || load_be16(&frame[arp_operation]) != 1 ||
      load_be32(&frame[arp_target_ip]) != own_address) {
    return {};
  }
  std::copy_n(frame.begin(), arp_size, out.begin());
  memcpy(&out[0], &frame[6], 6);
  memcpy(&out[6], null_server_mac, 6);
  store_be16(&out[arp_operation], 2);
  memcpy(&out[arp_target], &frame[arp_sender], 10);
  memcpy(&out[arp_sender], null_server_mac, 6);
  store_be32(&out[arp_sender_ip], own_address);
  return std::span(out).first(arp_size);
}

static_assert(frame_dhcp + largest_message <= AnswerFrame{}.size());

}  // namespace

std::span<const uint8_t> answer4(std::span<const uint8_t> frame, AnswerFrame& out, Answered& counts) {
  if (!from_client(frame)) return answer_arp(frame, out);
  const Question question = read_question(frame);
  if (question.server != own_address) return {};
  if (question.type != type_discover && question.type != type_request) return {};
  ++counts.all;
  if (!question.agent.empty()) ++counts.with_agent;
  const uint8_t* client = &question.message[dhcp4::chaddr.offset];
  const uint32_t address = first_address + load_be16(client + 4);
  const uint8_t type = question.type == type_discover ? type_offer : type_ack;
  const size_t size = put_message(question, type, address, &out[frame_dhcp]);
  put_headers(out.data(), destination(frame, question, address), size);
  return std::span(out).first(frame_dhcp + size);
}

}  // namespace dhcp::bench
