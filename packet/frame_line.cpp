#include "packet/frame_line.h"

#include <cstdarg>
#include <cstdio>

#include "base/text.h"
#include "packet/carried6.h"
#include "packet/link_frame.h"
#include "packet/message_names.h"
#include "packet/options4.h"
#include "packet/options6.h"

namespace dhcp::packet {

namespace {

using base::Ip6Text;
using base::IpText;

/// Where the headers of a frame lie, found from its first byte on: frames that are sent have no pointers to them.
struct Headers {
  bool six;
  size_t ip, udp;
};

std::optional<Headers> headers_of(std::span<const uint8_t> frame, size_t type_at) {
  const size_t ip = type_at + 2;
  if (frame.size() < ip + ip4::header_size) return std::nullopt;
  const uint16_t type = load_be16(&frame[type_at]);
  Headers headers{type == eth::type_ipv6, ip, 0};
  if (type == eth::type_ipv4 && frame[ip + ip4::protocol.offset] == ip4::protocol_udp) {
    headers.udp = ip + (frame[ip] & 15u) * size_t{4};
  } else if (headers.six && frame[ip + ip6::next_header.offset] == ip6::next_header_udp) {
    headers.udp = ip + ip6::header_size;
  }
  if (headers.udp == 0 || frame.size() < headers.udp + udp::header_size) return std::nullopt;
  return headers;
}

}  // namespace

void FrameLine::add(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int length = vsnprintf(text_ + used_, sizeof text_ - used_, format, args);
  va_end(args);
  if (length > 0) used_ = std::min(used_ + static_cast<size_t>(length), sizeof text_ - 1);
}

void FrameLine::add_mac(const base::MacAddress& mac) {
  const auto& b = mac.bytes;
  add("%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2], b[3], b[4], b[5]);
}

void FrameLine::add_address(const char* what, uint32_t ip) {
  if (ip != 0) add(" %s %s", what, IpText(ip).c_str());
}

void FrameLine::add_option(const char* what, const Message4& message, uint8_t code) {
  add_address(what, ip_option(message, code).value_or(0));
}

void FrameLine::describe4(const Message4& message, const base::MacAddress& source) {
  add(" %s xid %08x", message_name4(message_type_of(message)), message.xid());
  if (message.client_mac() != source) {
    add(" client ");
    add_mac(message.client_mac());
  }
  add_address("ciaddr", message.ciaddr());
  add_address("yiaddr", message.yiaddr());
  add_address("giaddr", message.giaddr());
  add_option("requested", message, option::requested_ip);
  add_option("server", message, option::server_id);
  const auto lease = ip_option(message, option::lease_time);
  if (lease) add(" lease %u", *lease);
}

void FrameLine::describe_relayed6(const RelayMessage6& relay, bool carried) {
  add(" hops %u link %s peer %s", relay.hop_count(), Ip6Text(relay.link()).c_str(), Ip6Text(relay.peer()).c_str());
  std::span<uint8_t> content;
  if (!carried && carried_message(relay, content) == Carried6::message) {
    add(" carries");
    describe6(content, true);
  }
}

void FrameLine::describe6(std::span<uint8_t> bytes, bool carried) {
  const auto message = Message6::at(bytes);
  if (!message) return add(" cut short");
  add(" %s", message_name6(message->type()));
  const auto relay = RelayMessage6::at(bytes);
  const bool relayed = message->is(MessageType6::relay_forward) || message->is(MessageType6::relay_reply);
  if (relayed && relay) return describe_relayed6(*relay, carried);
  add(" xid %06x", message->transaction_id());
  const auto ia = find_ia6(message->options());
  if (ia && ia->address) add(" address %s valid %u", Ip6Text(ia->address->ip).c_str(), ia->address->valid);
  const auto status = find_option6(message->options(), option6::status_code);
  if (status && status->size() >= 2) add(" status %u", load_be16(status->data()));
}

void FrameLine::describe(std::span<uint8_t> frame) {
  if (frame.size() < eth::tci.offset) return add(" %zu bytes", frame.size());
  const auto vlan = tag_in(frame);
  if (vlan) add(" vlan %u", *vlan);
  const auto source = base::MacAddress::from(&frame[eth::source.offset]);
  add(" ");
  add_mac(source);
  add(" > ");
  add_mac(base::MacAddress::from(&frame[eth::destination.offset]));
  const auto headers = headers_of(frame, vlan ? eth::type.offset : eth::tpid.offset);
  if (!headers) return add(" no datagram, %zu bytes", frame.size());
  const uint8_t* ip = &frame[headers->ip];
  const auto payload = frame.subspan(headers->udp + udp::header_size);
  if (headers->six) {
    add(" %s > %s", Ip6Text(ip + ip6::source.offset).c_str(), Ip6Text(ip + ip6::destination.offset).c_str());
    return describe6(payload, false);
  }
  add(" %s > %s", IpText(load_be32(ip + ip4::source.offset)).c_str(),
      IpText(load_be32(ip + ip4::destination.offset)).c_str());
  const auto message = Message4::at(payload);
  if (!message) return add(" cut short");
  describe4(*message, source);
}

}  // namespace dhcp::packet
