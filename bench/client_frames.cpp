#include "bench/client_frames.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "bench/options.h"
#include "bench/sums.h"
#include "packet/bytes.h"

namespace dhcp::bench {

using packet::load_be16;
using packet::load_be32;
using packet::store_be16;
using packet::store_be32;
namespace dhcp4 = packet::dhcp4;
namespace ip4 = packet::ip4;
namespace udp = packet::udp;

namespace {

constexpr uint8_t type_discover = 1, type_request = 3, type_release = 7;

void put_checksums(uint8_t* frame) {
  uint8_t* ip = frame + frame_ip;
  uint8_t* udp_header = frame + frame_udp;
  constexpr uint16_t udp_size = client_frame_size - frame_udp;
  store_be16(ip + ip4::checksum.offset, 0);
  put_sum(ip + ip4::checksum.offset, sum_of(ip, ip4::header_size, 0));
  uint8_t pseudo[4] = {0, ip4::protocol_udp, udp_size >> 8, udp_size & 0xff};
  uint64_t sum = sum_of(pseudo, 4, sum_of(ip + ip4::source.offset, 8, 0));
  store_be16(udp_header + udp::checksum.offset, 0);
  put_sum(udp_header + udp::checksum.offset, sum_of(udp_header, udp_size, sum));
}

/// Lays options down behind the cookie; what was there is cleared.
void put_options(uint8_t* message, std::initializer_list<std::span<const uint8_t>> parts) {
  uint8_t* at = message + dhcp4::options.offset;
  memset(at, 0, 300 - dhcp4::options.offset);
  for (const auto part : parts) at = std::copy(part.begin(), part.end(), at);
  *at = option_end;
}

/// Address option as bytes.
std::array<uint8_t, 6> address_option(uint8_t code, uint32_t address) {
  std::array<uint8_t, 6> bytes{code, 4};
  store_be32(&bytes[2], address);
  return bytes;
}

// What an ordinary client asks for: mask, routers, DNS servers, domain name, lease time (RFC 2132).
constexpr uint8_t wanted[] = {option_list, 5, 1, 3, 6, 15, 51};

}  // namespace

base::MacAddress client_mac(uint32_t index) {
  base::MacAddress mac{{0x02, 0xbe, 0x4c, 0, 0, 0}};
  packet::store_be24(&mac.bytes[3], index);
  return mac;
}

ClientFrames::ClientFrames(const base::MacAddress& mac) : mac_(mac) {
  std::fill_n(frame_.begin(), 6, uint8_t{0xff});
  std::copy(mac.bytes.begin(), mac.bytes.end(), frame_.begin() + 6);
  store_be16(&frame_[12], packet::eth::type_ipv4);
  uint8_t* ip = &frame_[frame_ip];
  ip[0] = 0x45;
  store_be16(ip + ip4::total_length.offset, client_frame_size - frame_ip);
  ip[ip4::ttl.offset] = 64;
  ip[ip4::protocol.offset] = ip4::protocol_udp;
  uint8_t* udp_header = &frame_[frame_udp];
  store_be16(udp_header + udp::source.offset, udp::port_client);
  store_be16(udp_header + udp::destination.offset, udp::port_server);
  store_be16(udp_header + udp::length.offset, client_frame_size - frame_udp);
  uint8_t* message = &frame_[frame_dhcp];
  message[dhcp4::op.offset] = dhcp4::boot_request;
  message[dhcp4::htype.offset] = 1;
  message[dhcp4::hlen.offset] = 6;
  std::copy(mac.bytes.begin(), mac.bytes.end(), message + dhcp4::chaddr.offset);
  store_be32(message + dhcp4::cookie.offset, dhcp4::magic_cookie);
}

std::span<const uint8_t> ClientFrames::sealed(uint32_t xid) {
  store_be32(&frame_[frame_dhcp + dhcp4::xid.offset], xid);
  put_checksums(frame_.data());
  return frame_;
}

std::span<const uint8_t> ClientFrames::discover(uint32_t xid) {
  constexpr uint8_t type[] = {option_type, 1, type_discover};
  std::fill_n(frame_.begin(), 6, uint8_t{0xff});
  store_be32(&frame_[frame_ip + ip4::source.offset], 0);
  store_be32(&frame_[frame_ip + ip4::destination.offset], ip4::broadcast);
  store_be32(&frame_[frame_dhcp + dhcp4::ciaddr.offset], 0);
  put_options(&frame_[frame_dhcp], {type, wanted});
  return sealed(xid);
}

std::span<const uint8_t> ClientFrames::request(uint32_t xid, const Answer& offer) {
  constexpr uint8_t type[] = {option_type, 1, type_request};
  put_options(&frame_[frame_dhcp], {type, address_option(option_server, offer.server),
                                    address_option(option_requested, offer.address), wanted});
  return sealed(xid);
}

std::span<const uint8_t> ClientFrames::release(uint32_t xid, const Answer& lease) {
  constexpr uint8_t type[] = {option_type, 1, type_release};
  std::copy(lease.server_mac.bytes.begin(), lease.server_mac.bytes.end(), frame_.begin());
  store_be32(&frame_[frame_ip + ip4::source.offset], lease.address);
  store_be32(&frame_[frame_ip + ip4::destination.offset], lease.server);
  store_be32(&frame_[frame_dhcp + dhcp4::ciaddr.offset], lease.address);
  put_options(&frame_[frame_dhcp], {type, address_option(option_server, lease.server)});
  return sealed(xid);
}

std::optional<Answer> read_answer(std::span<const uint8_t> frame) {
  if (frame.size() < frame_dhcp + dhcp4::fixed_size || load_be16(&frame[12]) != packet::eth::type_ipv4 ||
      frame[frame_ip] != 0x45 || frame[frame_ip + ip4::protocol.offset] != ip4::protocol_udp ||
      load_be16(&frame[frame_udp + udp::destination.offset]) != udp::port_client) {
    return std::nullopt;
  }
  const auto message = frame.subspan(frame_dhcp);
  if (message[dhcp4::op.offset] != dhcp4::boot_reply) return std::nullopt;
  Answer answer{0, load_be32(&message[dhcp4::xid.offset]), load_be32(&message[dhcp4::yiaddr.offset]), 0,
                base::MacAddress::from(&frame[6])};
  each_option(message.subspan(dhcp4::fixed_size), [&](uint8_t code, std::span<const uint8_t> value) {
    if (code == option_type && !value.empty()) answer.type = value[0];
    if (code == option_server && value.size() >= 4) answer.server = load_be32(value.data());
  });
  if (answer.type == 0) return std::nullopt;
  return answer;
}

}  // namespace dhcp::bench
