#include "server/reply.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/log.h"

namespace dhcp::server {

namespace {

using packet::MessageType;
using packet::OptionWriter4;
namespace option = packet::option;
namespace dhcp4 = packet::dhcp4;

constexpr size_t options_offset = packet::tagged_dhcp_offset + dhcp4::fixed_size;

std::array<uint8_t, reply_buffer_size> reply_buffer;

void copy_field(uint8_t* reply, const uint8_t* request, packet::Field field) {
  std::copy_n(request + field.offset, field.size, reply + field.offset);
}

/// The fixed fields of a reply (RFC 2131 table 3); those not named are zero.
void fill_fixed(uint8_t* reply, const uint8_t* request) {
  constexpr uint8_t htype_ethernet = 1, hlen_ethernet = 6;
  std::fill_n(reply, dhcp4::fixed_size, uint8_t{0});
  reply[dhcp4::op.offset] = dhcp4::boot_reply;
  reply[dhcp4::htype.offset] = htype_ethernet;
  reply[dhcp4::hlen.offset] = hlen_ethernet;
  for (packet::Field field : {dhcp4::xid, dhcp4::flags, dhcp4::ciaddr, dhcp4::giaddr, dhcp4::chaddr}) {
    copy_field(reply, request, field);
  }
  packet::store_be32(reply + dhcp4::cookie.offset, dhcp4::magic_cookie);
}

void add_identity(OptionWriter4& options, uint8_t type, uint32_t own_ip) {
  options.add_byte(option::message_type, type);
  options.add_ip(option::server_id, own_ip);
}

/// One option with the addresses of a list, as many as there is room for by agreement with the command line.
void add_addresses(OptionWriter4& options, uint8_t code, const DhcpPoolList& list) {
  constexpr size_t most = 8;
  std::array<uint8_t, most * 4> wire;
  size_t used = 0;
  for (const DhcpIpNode& node : base::Records<DhcpIpNode>(list.head)) {
    if (used == wire.size()) break;
    packet::store_be32(&wire[used], node.ip);
    used += 4;
  }
  if (used > 0) options.add(code, std::span(wire).first(used));
}

void add_boot_file_size(OptionWriter4& options, uint16_t blocks) {
  if (blocks == 0) return;
  std::array<uint8_t, 2> wire;
  packet::store_be16(wire.data(), blocks);
  options.add(option::boot_file_size, wire);
}

void add_text(OptionWriter4& options, uint8_t code, const char* text) {
  if (text == nullptr) return;
  options.add(code, std::span(reinterpret_cast<const uint8_t*>(text), strlen(text)));
}

/// A name goes into a field of the message itself, not into an option.
void fill_field(uint8_t* message, packet::Field field, const char* text) {
  if (text == nullptr) return;
  std::copy_n(reinterpret_cast<const uint8_t*>(text), strnlen(text, field.size), message + field.offset);
}

/// What the pool has to say about one code that the client asks for; other codes are passed over.
void add_parameter(const DhcpPool& pool, uint8_t* reply, OptionWriter4& options, uint8_t code) {
  switch (code) {
    case option::subnet_mask: return options.add_ip(code, pool.netmask);
    case option::router: return add_addresses(options, code, pool.routers);
    case option::dns_server: return add_addresses(options, code, pool.dns_servers);
    case option::boot_file_size: return add_boot_file_size(options, pool.boot_file_size);
    case option::domain_name: return add_text(options, code, pool.domain_name);
    case option::tftp_server: return fill_field(reply, dhcp4::sname, pool.server_name);
    case option::boot_file: return fill_field(reply, dhcp4::file, pool.boot_file);
    default: return;
  }
}

void add_parameters(const DhcpPool& pool, uint8_t* reply, OptionWriter4& options, const packet::Message4& request) {
  options.add_ip(option::lease_time, pool.lease);
  if (const auto wanted = packet::find_in_frame(request, option::parameter_list)) {
    for (uint8_t code : *wanted) add_parameter(pool, reply, options, code);
  }
  for (const DhcpPoolOption& own : base::Records<DhcpPoolOption>(pool.options.head)) {
    options.add(own.code, std::span(own.value).first(own.len));
  }
}

/// Builds a reply in the buffer and sends it. Null pool = no parameters. Whatever does not fit fails the whole reply.
int answer(Request& request, MessageType type, uint32_t ip, const DhcpPool* pool, bool force_broadcast) {
  reply_buffer.fill(0);
  uint8_t* reply = &reply_buffer[packet::tagged_dhcp_offset];
  fill_fixed(reply, request.message().bytes().data());
  packet::store_be32(reply + dhcp4::yiaddr.offset, ip);
  OptionWriter4 options{std::span(reply_buffer).subspan(options_offset)};
  add_identity(options, static_cast<uint8_t>(type), request.own().ip);
  if (pool != nullptr) add_parameters(*pool, reply, options, request.message());
  options.finish();
  if (!options.ok()) return -1;
  return send_reply(reply_buffer, static_cast<int>(options.used()), force_broadcast, request.vlan(), request.own(),
                    request.frame().source());
}

/// The options area of a message handed in from outside, in a reply buffer of its own.
OptionWriter4 writer_at(uint8_t* message, int options_len) {
  constexpr size_t room = reply_buffer_size - options_offset;
  return OptionWriter4(std::span(message + dhcp4::fixed_size, room), static_cast<size_t>(options_len));
}

int length_of(const OptionWriter4& options) { return options.ok() ? static_cast<int>(options.used()) : -1; }

}  // namespace

int send_offer(Request& request, const DhcpPool& pool, uint32_t ip) {
  constexpr const char* function = "dhcp_send_offer";
  const int result = answer(request, MessageType::offer, ip, &pool, false);
  if (result != 0) return result;
  DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcp offer", "[%s : %d]Send dhcp offer packet:ret=%d\n",
                function, __LINE__, result);
  return 0;
}

int send_ack(Request& request, const DhcpPool& pool, uint32_t ip) {
  constexpr const char* function = "dhcp_send_ack";
  const int result = answer(request, MessageType::ack, ip, ip != 0 ? &pool : nullptr, false);
  if (result != 0) return result;
  DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcp ack", "[%s : %d]Send dhcp ack packet:ret=%d\n",
                function, __LINE__, result);
  return 0;
}

int send_nack(Request& request) {
  constexpr const char* function = "dhcp_send_nack";
  const int result = answer(request, MessageType::nak, 0, nullptr, true);
  if (result != 0) return result;
  DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcp nack", "[%s : %d]Send dhcp nack packet:ret=%d\n",
                function, __LINE__, result);
  return 0;
}

}  // namespace dhcp::server

using namespace dhcp;

int dhcp_add_option(uint8_t* msg, int options_len, int code, int len, const void* value) {
  if (options_len < 0 || code < 0 || code > 255 || len < 0 || len > 255) return -1;
  auto options = server::writer_at(msg, options_len);
  options.add(static_cast<uint8_t>(code), std::span(static_cast<const uint8_t*>(value), static_cast<size_t>(len)));
  return server::length_of(options);
}

int dhcp_init_packet(uint8_t* reply, const uint8_t* request, int vid, int type) {
  server::fill_fixed(reply, request);
  auto options = server::writer_at(reply, 0);
  server::add_identity(options, static_cast<uint8_t>(type), server::own_address(vid).ip);
  return server::length_of(options);
}

int dhcp_add_param_list_option(DhcpPool* pool, uint8_t* reply, int options_len, skpack* skp) {
  const auto frame = packet::Frame4::parse(*skp);
  if (!frame || options_len < 0) return -1;
  auto options = server::writer_at(reply, options_len);
  server::add_parameters(*pool, reply, options, frame->message());
  return server::length_of(options);
}

int dhcp_send_offer(skpack* skp, DhcpPool* pool, uint32_t ip) {
  auto request = server::Request::open(*skp);
  return request ? server::send_offer(*request, *pool, ip) : -1;
}

int dhcp_send_ack(skpack* skp, DhcpPool* pool, uint32_t ip) {
  auto request = server::Request::open(*skp);
  return request ? server::send_ack(*request, *pool, ip) : -1;
}

int dhcp_send_nack(skpack* skp) {
  auto request = server::Request::open(*skp);
  return request ? server::send_nack(*request) : -1;
}
