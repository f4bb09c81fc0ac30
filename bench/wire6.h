/// DHCPv6 as the load and the server behind the switch write and read it, without the product's own code.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "bench/sums.h"
#include "packet/bytes.h"
#include "packet/layout.h"

namespace dhcp::bench {

inline constexpr size_t frame6_ip = 14, frame6_udp = frame6_ip + packet::ip6::header_size,
                        frame6_dhcp = frame6_udp + packet::udp::header_size;

inline constexpr uint8_t solicit = 1, advertise = 2, request6 = 3, reply6 = 7, release6 = 8, relay_forw = 12,
                         relay_repl = 13;
inline constexpr uint16_t option6_client = 1, option6_server = 2, option6_ia = 3, option6_address = 5,
                          option6_wanted = 6, option6_elapsed = 8, option6_relayed = 9, option6_status = 13,
                          option6_interface = 18;

using Address6 = std::array<uint8_t, 16>;

/// fe80::/64 with the interface identifier of a MAC (RFC 4291 appendix A).
inline Address6 link_local(const uint8_t* mac) {
  return {0xfe,   0x80,   0,    0,    0,      0,      0,     0, static_cast<uint8_t>(mac[0] ^ 2),
          mac[1], mac[2], 0xff, 0xfe, mac[3], mac[4], mac[5]};
}

/// `take(code, value)` for each option up to the end, or to one that is longer than what is left.
template <class Take>
void each_option6(std::span<const uint8_t> options, Take take) {
  while (options.size() >= 4) {
    const size_t length = packet::load_be16(&options[2]);
    if (options.size() - 4 < length) return;
    take(packet::load_be16(options.data()), options.subspan(4, length));
    options = options.subspan(4 + length);
  }
}

/// Whether the frame is UDP over IPv6 to this port, with nothing between the two headers.
inline bool is_udp6(std::span<const uint8_t> frame, uint16_t port) {
  return frame.size() >= frame6_dhcp + packet::dhcp6::header_size &&
         packet::load_be16(&frame[12]) == packet::eth::type_ipv6 &&
         frame[frame6_ip + packet::ip6::next_header.offset] == packet::ip6::next_header_udp &&
         packet::load_be16(&frame[frame6_udp + packet::udp::destination.offset]) == port;
}

/// A DHCPv6 frame that grows option by option. The writer never goes beyond its room: what does not fit is left out.
class Frame6Writer {
 public:
  static constexpr size_t room = 640;

  /// Begins anew behind the headers with `fixed`, the message's own header.
  void begin(std::span<const uint8_t> fixed) {
    size_ = frame6_dhcp;
    put(fixed);
  }
  void option(uint16_t code, std::span<const uint8_t> value) {
    if (room - size_ < 4 + value.size()) return;
    packet::store_be16(&frame_[size_], code);
    packet::store_be16(&frame_[size_ + 2], static_cast<uint16_t>(value.size()));
    size_ += 4;
    put(value);
  }
  /// Opens an option whose value follows; close() with what this returns.
  size_t open(uint16_t code) {
    option(code, {});
    return size_;
  }
  void close(size_t opened) { packet::store_be16(&frame_[opened - 2], static_cast<uint16_t>(size_ - opened)); }
  void put(std::span<const uint8_t> bytes) {
    if (room - size_ < bytes.size()) return;
    memcpy(&frame_[size_], bytes.data(), bytes.size());
    size_ += bytes.size();
  }

  struct Ends {
    const uint8_t *mac, *ip;
    uint16_t port;
  };
  /// Headers and checksum around what was written.
  std::span<const uint8_t> sealed(const Ends& from, const Ends& to) {
    using namespace packet;
    memcpy(&frame_[0], to.mac, 6);
    memcpy(&frame_[6], from.mac, 6);
    store_be16(&frame_[12], eth::type_ipv6);
    uint8_t* ip = &frame_[frame6_ip];
    uint8_t* udp = &frame_[frame6_udp];
    const auto length = static_cast<uint16_t>(size_ - frame6_udp);
    store_be32(ip, ip6::version);
    store_be16(ip + ip6::payload_length.offset, length);
    ip[ip6::next_header.offset] = ip6::next_header_udp;
    ip[ip6::hop_limit.offset] = 64;
    memcpy(ip + ip6::source.offset, from.ip, 16);
    memcpy(ip + ip6::destination.offset, to.ip, 16);
    store_be16(udp + udp::source.offset, from.port);
    store_be16(udp + udp::destination.offset, to.port);
    store_be16(udp + udp::length.offset, length);
    store_be16(udp + udp::checksum.offset, 0);
    const uint8_t pseudo[4] = {static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length), 0,
                               ip6::next_header_udp};
    put_sum(udp + udp::checksum.offset, sum_of(udp, length, sum_of(pseudo, 4, sum_of(ip + ip6::source.offset, 32, 0))));
    return std::span(frame_).first(size_);
  }

 private:
  std::array<uint8_t, room> frame_{};
  size_t size_ = frame6_dhcp;
};

}  // namespace dhcp::bench
