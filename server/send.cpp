/// The headers around a reply, and which of the clients, relays or ports it goes to.
#include <algorithm>

#include "packet/egress.h"
#include "platform/text.h"
#include "server/reply.h"

namespace dhcp::server {

namespace {

namespace eth = packet::eth;
namespace ip4 = packet::ip4;
namespace udp = packet::udp;
using packet::store_be16;
using packet::store_be32;

constexpr size_t headers_size = packet::tagged_dhcp_offset + packet::dhcp4::fixed_size;

struct Destination {
  base::MacAddress mac;
  uint32_t ip;
};

/// RFC 2131 section 4.1, but that a client which has no address yet is always answered by broadcast.
Destination destination_of(const packet::Message4& reply, bool force_broadcast, const base::MacAddress& asker) {
  if (reply.giaddr() != 0) return {asker, reply.giaddr()};
  if (!force_broadcast && !reply.wants_broadcast() && reply.ciaddr() != 0) return {reply.client_mac(), reply.ciaddr()};
  return {base::MacAddress::broadcast(), ip4::broadcast};
}

void fill_ethernet(uint8_t* frame, const base::MacAddress& to, const base::MacAddress& from, int vlan) {
  std::copy(to.bytes.begin(), to.bytes.end(), frame + eth::destination.offset);
  std::copy(from.bytes.begin(), from.bytes.end(), frame + eth::source.offset);
  store_be16(frame + eth::tpid.offset, eth::tpid_8021q);
  store_be16(frame + eth::tci.offset, static_cast<uint16_t>(vlan));
  store_be16(frame + eth::type.offset, eth::type_ipv4);
}

/// Ports and length; then the checksum over an IPv4 header that for the moment holds the pseudo-header only (RFC 768).
/// Relays too are answered at the client's port. A sum of 0 goes as it is and says that there is none.
void fill_udp(uint8_t* ip, uint32_t from, uint32_t to, size_t length) {
  const auto udp_length = static_cast<uint16_t>(length);
  uint8_t* header = ip + ip4::header_size;
  store_be16(header + udp::source.offset, udp::port_server);
  store_be16(header + udp::destination.offset, udp::port_client);
  store_be16(header + udp::length.offset, udp_length);
  store_be16(header + udp::checksum.offset, 0);
  std::fill_n(ip, ip4::header_size, uint8_t{0});
  ip[ip4::protocol.offset] = ip4::protocol_udp;
  store_be16(ip + ip4::total_length.offset, udp_length);
  store_be32(ip + ip4::source.offset, from);
  store_be32(ip + ip4::destination.offset, to);
  store_be16(header + udp::checksum.offset, cksum(ip, static_cast<int>(ip4::header_size + length)));
}

/// Completes the IPv4 header, whose protocol and addresses stand there already.
void fill_ip(uint8_t* ip, size_t total_length) {
  constexpr uint8_t version_4_five_words = 0x45, ttl = 64;
  ip[ip4::version_ihl.offset] = version_4_five_words;
  ip[ip4::ttl.offset] = ttl;
  store_be16(ip + ip4::total_length.offset, static_cast<uint16_t>(total_length));
  store_be16(ip + ip4::checksum.offset, cksum(ip, ip4::header_size));
}

}  // namespace

int send_reply(std::span<uint8_t, reply_buffer_size> buffer, int options_len, bool force_broadcast, int vlan,
               const OwnAddress& own, const base::MacAddress& asker) {
  if (options_len < 0 || static_cast<size_t>(options_len) > buffer.size() - headers_size) return -1;
  const std::span<uint8_t> frame = buffer.first(headers_size + static_cast<size_t>(options_len));
  const auto reply = packet::Message4::at(frame.subspan(packet::tagged_dhcp_offset));
  const Destination to = destination_of(*reply, force_broadcast, asker);

  uint8_t* ip = &frame[packet::tagged_ip_offset];
  fill_ethernet(frame.data(), to.mac, own.mac, vlan);
  fill_udp(ip, own.ip, to.ip, frame.size() - packet::tagged_udp_offset);
  fill_ip(ip, frame.size() - packet::tagged_ip_offset);

  const auto vid = static_cast<uint32_t>(vlan);
  if (to.mac.is_broadcast()) {
    packet::send_flood(frame, dhcps_cfg.ports, dhcps_cfg.port_users, vid);
  } else {
    packet::send_to_mac(frame, to.mac, vid, packet::SendMode::snooped);
  }
  return 0;
}

}  // namespace dhcp::server

int dhcp_send_packet(int vid, uint8_t* buf, int options_len, int force_broadcast, skpack* request) {
  using namespace dhcp;
  const auto frame = packet::Frame4::parse(*request);
  if (!frame) return -1;
  return server::send_reply(std::span<uint8_t, server::reply_buffer_size>(buf, server::reply_buffer_size), options_len,
                            force_broadcast != 0, vid, server::own_address(vid), frame->source());
}
