#include "fuzz/sent_frames.h"

#include <algorithm>

#include "bench/null_device.h"
#include "dhcp/server.h"
#include "fuzz/target.h"
#include "packet/options4.h"

namespace dhcp::fuzz {

namespace {

namespace ip4 = packet::ip4;
namespace udp = packet::udp;
namespace dhcp4 = packet::dhcp4;
using packet::load_be16;
using packet::load_be32;

constexpr size_t ip_at = packet::tagged_ip_offset, udp_at = packet::tagged_udp_offset,
                 dhcp_at = packet::tagged_dhcp_offset, options_at = dhcp_at + dhcp4::fixed_size;

void check_headers(const SentFrame& sent) {
  const auto frame = sent.bytes;
  check_built_frame(sent);
  // The end option comes behind the options, whatever room they have used.
  HOLDS(frame.size() > options_at && frame.size() <= options_at + packet::options_sent_limit + 1);
  HOLDS(std::equal(frame.begin() + 6, frame.begin() + 12, bench::NullDevice::mac) || sent.vlan != 10);
  HOLDS(load_be16(&frame[16]) == packet::eth::type_ipv4 && frame[ip_at + ip4::ttl.offset] == 64);
  HOLDS(load_be16(&frame[udp_at]) == udp::port_server && load_be16(&frame[udp_at + 2]) == udp::port_client);
  HOLDS(load_be16(&frame[udp_at + udp::checksum.offset]) != 0);
}

/// Options from the first to the end option, which is the frame's last byte; 53 and 54 come first.
Reply check_message(std::span<const uint8_t> frame, std::span<const uint8_t> request) {
  const auto message = frame.subspan(dhcp_at);
  HOLDS(message[0] == dhcp4::boot_reply && message[1] == 1 && message[2] == 6 && message[3] == 0);
  HOLDS(std::equal(message.begin() + 4, message.begin() + 8, request.begin() + 4));  // xid
  HOLDS(std::equal(message.begin() + 28, message.begin() + 44, request.begin() + 28));
  HOLDS(load_be32(&message[dhcp4::cookie.offset]) == dhcp4::magic_cookie);
  std::vector<uint8_t> area(frame.begin() + options_at, frame.end());
  size_t index = 0;
  packet::Option4 option{};
  HOLDS(packet::next_option(area, index, option) == packet::OptionStep::found && option.code == 53);
  Reply reply{option.value[0], load_be32(&message[dhcp4::yiaddr.offset])};
  HOLDS(packet::next_option(area, index, option) == packet::OptionStep::found && option.code == 54);
  HOLDS(load_be32(option.value.data()) == load_be32(&frame[ip_at + ip4::source.offset]));
  while (packet::next_option(area, index, option) == packet::OptionStep::found) HOLDS(reply.type != 6);
  HOLDS(area.back() == packet::option::end && area.size() - index >= 1);
  HOLDS(std::all_of(area.begin() + static_cast<std::ptrdiff_t>(index), area.end() - 1,
                    [](uint8_t byte) { return byte == packet::option::pad; }));
  return reply;
}

void check_direction(const SentFrame& sent) {
  const auto frame = sent.bytes;
  const bool broadcast = std::all_of(frame.begin(), frame.begin() + 6, [](uint8_t byte) { return byte == 0xff; });
  HOLDS(!sent.to_all_ports);
  HOLDS(sent.mode == (broadcast ? 0 : 2));
  const uint32_t relay = load_be32(&frame[dhcp_at + dhcp4::giaddr.offset]);
  const uint32_t target = load_be32(&frame[ip_at + ip4::destination.offset]);
  HOLDS(relay == 0 || target == relay);
  HOLDS(broadcast || relay != 0 || target == load_be32(&frame[dhcp_at + dhcp4::ciaddr.offset]));
}

}  // namespace

void SentFrames::judge(const SentFrame& sent) {
  HOLDS(!reply_ && !given_back_);
  if (sent.to_all_ports && sent.mode == 0 && std::ranges::equal(sent.bytes, received_)) {
    given_back_ = true;
    return;
  }
  check_headers(sent);
  check_direction(sent);
  // The request lies 42 bytes behind the start of the received frame's headers, tag and IPv4 options apart.
  const size_t ip = ip_at;
  const size_t message = ip + size_t{received_[ip]} % 16 * 4 + udp::header_size;
  HOLDS(received_.size() >= message + dhcp4::fixed_size);
  reply_ = check_message(sent.bytes, std::span<const uint8_t>(received_).subspan(message));
}

}  // namespace dhcp::fuzz
