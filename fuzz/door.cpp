#include "fuzz/door.h"

#include <algorithm>

#include "dhcp/debug.h"
#include "packet/frame_line.h"

namespace dhcp::fuzz {

namespace {

namespace eth = packet::eth;
namespace ip4 = packet::ip4;
namespace ip6 = packet::ip6;
namespace udp = packet::udp;
using packet::load_be16;
using packet::store_be16;
using packet::store_be32;

const std::function<void(const SentFrame&)>* judging = nullptr;

/// Sum of big-endian words, folded: 0xffff over a part that holds its own right checksum (RFC 1071).
/// As an operator would be told of it, from storage as long as the frame.
void describe(std::span<const uint8_t> frame) {
  std::vector<uint8_t> bytes(frame.begin(), frame.end());
  bytes.shrink_to_fit();
  packet::FrameLine line;
  line.describe(bytes);
}

uint32_t sum(std::span<const uint8_t> bytes, size_t start = 0) {
  for (size_t i = 0; i < bytes.size(); ++i) start += i % 2 == 0 ? size_t{bytes[i]} << 8 : bytes[i];
  while (start > 0xffff) start = (start & 0xffff) + (start >> 16);
  return static_cast<uint32_t>(start);
}

/// UDP behind an IP header; `addresses` are the source and destination there.
void check_udp(std::span<const uint8_t> datagram, std::span<const uint8_t> addresses, bool may_lack_checksum) {
  HOLDS(load_be16(&datagram[udp::length.offset]) == datagram.size());
  if (may_lack_checksum && load_be16(&datagram[udp::checksum.offset]) == 0) return;
  const uint32_t pseudo = sum(addresses, ip4::protocol_udp + datagram.size());
  HOLDS(load_be16(&datagram[udp::checksum.offset]) != 0 && sum(datagram, pseudo) == 0xffff);
}

}  // namespace

int run_door(const Door& door, const uint8_t* data, size_t size) {
  bench::null_device = {};
  bench::use_null_device();
  door.open();
  Input input(data, size);
  for (size_t steps = 0; steps < most_steps && !input.empty(); ++steps) {
    door.step(input);
    door.check();
  }
  door.close();
  return 0;
}

FuzzedFrame::FuzzedFrame(const Mac& source, uint16_t vlan, uint16_t type, size_t udp_at)
    : bytes_(udp_at + udp::header_size), udp_at_(udp_at) {
  bytes_.reserve(bytes_.size() + packet::dhcp4::fixed_size + largest_frame);
  std::ranges::copy(source, &bytes_[eth::source.offset]);
  store_be16(&bytes_[eth::tpid.offset], eth::tpid_8021q);
  store_be16(&bytes_[eth::tci.offset], vlan);
  store_be16(&bytes_[eth::type.offset], type);
}

FuzzedFrame FuzzedFrame::dhcp4(const Mac& source, uint16_t vlan) {
  FuzzedFrame frame(source, vlan, eth::type_ipv4, packet::tagged_udp_offset);
  std::fill_n(frame.ethernet(), 6, uint8_t{0xff});
  frame.ip()[0] = 0x45;
  frame.ip()[ip4::protocol.offset] = ip4::protocol_udp;
  frame.bytes_.resize(packet::tagged_dhcp_offset + packet::dhcp4::fixed_size);
  std::ranges::copy(source, frame.message() + packet::dhcp4::chaddr.offset);
  store_be32(frame.message() + packet::dhcp4::cookie.offset, packet::dhcp4::magic_cookie);
  return frame;
}

FuzzedFrame FuzzedFrame::dhcp6(const Mac& source, uint16_t vlan, uint16_t source_port, uint16_t destination_port) {
  constexpr uint8_t servers_mac[] = {0x33, 0x33, 0, 1, 0, 2};
  constexpr uint8_t servers_group[] = {0xff, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2};  // RFC 8415 section 7.1
  FuzzedFrame frame(source, vlan, eth::type_ipv6, packet::tagged_udp6_offset);
  std::ranges::copy(servers_mac, frame.ethernet());
  uint8_t* ip = frame.ip();
  store_be32(ip, ip6::version);
  ip[ip6::next_header.offset] = ip6::next_header_udp;
  ip[ip6::hop_limit.offset] = 1;
  ip[ip6::source.offset] = 0xfe, ip[ip6::source.offset + 1] = 0x80;
  std::ranges::copy(source, ip + ip6::source.end() - source.size());
  std::ranges::copy(servers_group, ip + ip6::destination.offset);
  store_be16(&frame.bytes_[frame.udp_at_ + udp::source.offset], source_port);
  store_be16(&frame.bytes_[frame.udp_at_ + udp::destination.offset], destination_port);
  return frame;
}

void FuzzedFrame::option4(uint8_t code, std::span<const uint8_t> value) {
  bytes_.push_back(code);
  bytes_.push_back(static_cast<uint8_t>(value.size()));
  add(value);
}

void FuzzedFrame::option6(uint16_t code, std::span<const uint8_t> value) {
  std::array<uint8_t, 4> head;
  store_be16(&head[0], code);
  store_be16(&head[2], static_cast<uint16_t>(value.size()));
  add(head);
  add(value);
}

std::vector<uint8_t> FuzzedFrame::sealed() {
  const auto behind = [this](size_t at) { return static_cast<uint16_t>(bytes_.size() - at); };
  store_be16(&bytes_[udp_at_ + udp::length.offset], behind(udp_at_));
  if (udp_at_ == packet::tagged_udp_offset) {
    store_be16(ip() + ip4::total_length.offset, behind(packet::tagged_ip_offset));
  } else {
    store_be16(ip() + ip6::payload_length.offset, behind(udp_at_));
  }
  return bytes_;
}

int hand_over(int (*entry)(skpack*), bench::ReceivedFrame& frame, const std::function<void(const SentFrame&)>& judge) {
  judging = &judge;
  bench::null_device.on_frame = [](std::span<const uint8_t> bytes, const intf_order_list* ports, uint32_t vlan,
                                   int mode) {
    (*judging)({bytes, ports == nullptr, vlan, mode});
  };
  describe(frame.bytes());
  dhcp_watch_frames([](const char*) {});  // whatever is sent is described
  const int answer = entry(&frame.skp());
  dhcp_watch_frames(nullptr);
  bench::null_device.on_frame = nullptr;
  HOLDS(answer == 0 || answer == -1);
  return answer;
}

void check_built_frame(const SentFrame& sent) {
  const auto frame = sent.bytes;
  HOLDS(frame.size() >= packet::tagged_dhcp_offset);
  HOLDS(load_be16(&frame[eth::tpid.offset]) == eth::tpid_8021q && load_be16(&frame[eth::tci.offset]) == sent.vlan);
  const auto ip = frame.subspan(packet::tagged_ip_offset);
  if (load_be16(&frame[eth::type.offset]) == eth::type_ipv4) {
    HOLDS(ip[0] == 0x45 && ip[ip4::protocol.offset] == ip4::protocol_udp && ip[ip4::ttl.offset] != 0);
    HOLDS(load_be16(&ip[ip4::total_length.offset]) == ip.size());
    HOLDS(sum(ip.first(ip4::header_size)) == 0xffff);
    check_udp(ip.subspan(ip4::header_size), ip.subspan(ip4::source.offset, 8), true);
  } else {
    HOLDS(load_be16(&frame[eth::type.offset]) == eth::type_ipv6 && frame.size() >= packet::tagged_dhcp6_offset);
    HOLDS(ip[0] >> 4 == 6 && ip[ip6::next_header.offset] == ip6::next_header_udp && ip[ip6::hop_limit.offset] != 0);
    HOLDS(load_be16(&ip[ip6::payload_length.offset]) == ip.size() - ip6::header_size);
    check_udp(ip.subspan(ip6::header_size), ip.subspan(ip6::source.offset, 32), false);
  }
}

int32_t ring_length(const DhcpListHead& head) {
  int32_t nodes = 0;
  const DhcpListHead* before = &head;
  for (const DhcpListHead* at = head.next; at != &head; at = at->next) {
    HOLDS(at->prev == before);
    before = at;
    ++nodes;
  }
  HOLDS(head.prev == before);
  return nodes;
}

}  // namespace dhcp::fuzz
