/// The DHCPv6 relay's door, both ways: clients, further relays and servers, with destinations and clients in place,
/// between changes of the configuration and the clock.
#include <algorithm>
#include <array>
#include <vector>

#include "base/ip6.h"
#include "dhcp/relay6.h"
#include "fuzz/door.h"

namespace dhcp::fuzz {

namespace {

using bench::null_device;
using packet::load_be16;

constexpr uint16_t vlans[] = {10, 20, 30, 4095};  // the first two have addresses
constexpr uint8_t server_mac[] = {2, 0xbb, 0, 0, 0, 1};
constexpr size_t hop_count_at = packet::tagged_dhcp6_offset + packet::relay6::hop_count.offset;
constexpr uint16_t relay_message = 9;

/// The address from which that client's frames come.
base::Ip6 client_ip(uint8_t n) {
  base::Ip6 ip{{0xfe, 0x80}};
  std::ranges::copy(client(n), ip.bytes.end() - 6);
  return ip;
}

base::Ip6 server_ip(uint8_t n) {
  return {{0x20, 1, 0x0d, 0xb8, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(n % 16)}};
}

void open() {
  constexpr std::array<uint8_t, DHCP6_RELAY_LINK_SIZE> link{0x20, 1};
  gDhcp6Relay.dev_mac_valid = 0;
  init_dhcp6_relay_cfg();
  dhcp6_relay_find_dhcp_serverip(server_ip(1).bytes.data(), 1, server_mac, vlans[1]);
  dhcp6_relay_find_dhcp_serverip(server_ip(2).bytes.data(), 1, server_mac, vlans[0])->out_intf = 7;
  dhcp6_relay_find_dhcp_serverip(server_ip(3).bytes.data(), 1, nullptr, 0);
  for (uint8_t n = 1; n < 5; ++n) {
    dhcp6_relay_add_info_table(client_ip(n).bytes.data(), client(n).data(), 1, vlans[n % 3],
                               n % 2 != 0 ? link.data() : nullptr);
  }
}

void check_tables() {
  int32_t used = 0;
  for (const Dhcp6InfoNode& slot : gDhcp6Relay.info_table) {
    used += slot.valid;
    HOLDS(slot.valid != 0 || slot.link == nullptr);
  }
  HOLDS(gDhcp6Relay.info_count == used && used <= DHCP6_RELAY_CLIENTS);
  HOLDS(gDhcp6Relay.server_count == ring_length(gDhcp6Relay.server_list));
  HOLDS(gDhcp6Relay.server_count <= DHCP6_RELAY_MAX_DESTINATIONS);
  HOLDS(gDhcp6Relay.server_busy == 0 && gDhcp6Relay.port_users == 0);
}

/// From the device, between the ports of clients and servers: a Relay-forward one way, anything but that the other.
void judge(const SentFrame& sent) {
  check_built_frame(sent);
  HOLDS(sent.mode == 0 || sent.mode == 2);
  HOLDS(std::ranges::equal(sent.bytes.subspan(packet::eth::source.offset, 6), bench::NullDevice::mac));
  const uint8_t* udp = &sent.bytes[packet::tagged_udp6_offset];
  const uint16_t from = load_be16(udp + packet::udp::source.offset),
                 to = load_be16(udp + packet::udp::destination.offset);
  HOLDS((from == 546 && to == 547) || (from == 547 && to == 546));
  if (to == 546) return;
  HOLDS(sent.bytes.size() >= packet::tagged_dhcp6_offset + packet::relay6::header_size + 4);
  const uint8_t* message = &sent.bytes[packet::tagged_dhcp6_offset];
  HOLDS(message[0] == 12 && load_be16(message + packet::relay6::header_size) == relay_message);
  HOLDS(load_be16(message + packet::relay6::header_size + 2) ==
        sent.bytes.size() - packet::tagged_dhcp6_offset - packet::relay6::header_size - 4);
}

void receive(std::span<const uint8_t> bytes, uint32_t port) {
  bench::ReceivedFrame frame(bytes, port);
  hand_over(dhcp6_relay_packet_process, frame, judge);
  // The hop count may have been changed in place, and nothing else.
  std::vector<uint8_t> before(bytes.begin(), bytes.end());
  if (before.size() > hop_count_at) before[hop_count_at] = frame.bytes()[hop_count_at];
  HOLDS(std::ranges::equal(frame.bytes(), before));
}

/// A client's message, or one that carries another: who, where and what are the input's choice.
std::vector<uint8_t> message(Input& input) {
  const uint8_t who = input.byte(), chosen = input.byte(), type = input.byte() % 16;
  const bool from_server = type == 13;
  FuzzedFrame frame = FuzzedFrame::dhcp6(client(who), vlans[chosen & 3], from_server ? 547 : 546, 547);
  if (type != 12 && !from_server) {
    frame.add(std::array<uint8_t, 4>{type, 1, 2, who});
  } else {
    frame.add(std::array<uint8_t, 2>{type, input.byte()});
    frame.add(server_ip(who).bytes);
    frame.add((chosen & 4) != 0 ? base::Ip6{}.bytes : client_ip(static_cast<uint8_t>(who >> 2)).bytes);
  }
  if ((chosen & 8) != 0) frame.option6(input.word(), input.bytes(input.byte()));
  if ((chosen & 16) != 0) frame.option6(relay_message, input.bytes(input.word() % 1500));
  frame.add(input.bytes((chosen & 32) != 0 ? input.byte() : 0));
  if (from_server) std::ranges::copy(server_ip(who).bytes, frame.ip() + packet::ip6::source.offset);
  std::vector<uint8_t> sealed = frame.sealed();
  // A length that is not the truth.
  if ((chosen & 64) != 0) sealed[packet::tagged_udp6_offset + packet::udp::length.offset + 1] = input.byte();
  return sealed;
}

void configure(Input& input) {
  const uint8_t what = input.byte(), value = input.byte();
  const auto ip = server_ip(value);
  switch (what % 6) {
    case 0: dhcp6_relay_set_dhcp_serverip(what >> 7, ip.bytes.data(), value >> 4); break;
    case 1: dhcp6_relay_find_dhcp_serverip(ip.bytes.data(), value >> 7, server_mac, vlans[value >> 4 & 3]); break;
    case 2: null_device.macs_known = (value & 1) != 0; break;
    case 3: dhcp6_relay_dhcp_server_mac_probe(); break;
    default: null_device.now += (value & 128) != 0 ? (value & 127u) * 10 : value; break;
  }
}

/// New clients until the table is full, and beyond.
void crowd(uint8_t first) {
  for (uint8_t n = 0; n < 60; ++n) {
    const std::array<uint8_t, DHCP6_RELAY_LINK_SIZE> link{0xfe, 0x80, first, n};  // its first half is the address
    dhcp6_relay_add_info_table(link.data(), client(n).data(), n, vlans[0], n % 3 == 0 ? link.data() : nullptr);
  }
}

void step(Input& input) {
  const uint8_t chosen = input.byte();
  const uint32_t port = 1 + (chosen >> 4);
  switch (chosen & 7) {
    case 5: return configure(input);
    case 6: return receive(input.bytes(input.word() % largest_frame), port);
    case 7: return crowd(input.byte());
    default: return receive(message(input), port);
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  return run_door({open, step, check_tables, exit_dhcp6_relay_cfg}, data, size);
}
