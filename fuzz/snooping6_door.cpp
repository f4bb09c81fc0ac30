/// DHCPv6 snooping's door: any frames on trusted, untrusted and suppressed ports, between changes of the configuration
/// and the clock, with bindings in place and a relay behind that comes and goes.
#include <algorithm>
#include <vector>

#include "base/ip6.h"
#include "dhcp/relay6.h"
#include "dhcp/snooping6.h"
#include "fuzz/door.h"
#include "packet/options6.h"

namespace dhcp::fuzz {

namespace {

namespace option6 = packet::option6;
using bench::null_device;

constexpr uint32_t untrusted = 1, trusted = 2, suppressed = 3;
constexpr uint16_t vlans[] = {10, 20, 30, 4095};  // the first two are snooped

base::Ip6 address(uint8_t n) {
  base::Ip6 ip{{0x20, 0x01, 0x0d, 0xb8}};
  ip.bytes.back() = n % 32;
  return ip;
}

int32_t entries_of(const DhcpSnoopIndex& index) {
  int32_t entries = 0;
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    HOLDS(index.busy[bucket] == 0);
    entries += ring_length(index.head[bucket]);
  }
  return entries;
}

/// Links and busy words agree, and whoever is found by an address has it. The address index's counts may be anything.
void check_tables() {
  const int32_t by_mac = entries_of(g_dhcp6_snooping.mac_index);
  HOLDS(by_mac == g_dhcp6_snooping.bind_count && by_mac <= 250);
  HOLDS(entries_of(g_dhcp6_snooping.ip_index) <= by_mac && g_dhcp6_snooping.intf_busy == 0);
  std::array<Dhcp6SnoopBinding, 250> all;
  HOLDS(dhcp6_snoop_get_bindings(all.data(), static_cast<int>(all.size())) == by_mac);
  for (int i = 0; i < by_mac; ++i) {
    const Dhcp6SnoopBinding& binding = all[static_cast<size_t>(i)];
    const MacBind6Struct* holder = find_VlanIp6_entry(binding.vlan, binding.ip6);
    HOLDS(holder == nullptr || (holder->vlan == binding.vlan && std::ranges::equal(holder->ip6, binding.ip6)));
    HOLDS(holder == nullptr || find_MacBind6Struct(holder->mac, 0) == holder);
  }
}

void open() {
  gDhcp6Relay.status = 0;
  init_dhcp6_snooping();
  set_dhcp6_snoop_switch(1);
  set_dhcp6_snoop_vlan(1, vlans[0]);
  set_dhcp6_snoop_vlan(1, vlans[1]);
  set_dhcp6_snoop_trust(1, trusted);
  set_dhcp6_snoop_suppression(1, suppressed);
  for (uint8_t n = 1; n < 4; ++n) set_dhcp6_snoop_bind(1, client(n).data(), untrusted, vlans[0], 600);
}

void close() {
  gDhcp6Relay.status = 0;
  exit_dhcp6_snooping();
}

/// What leaves is what came in, and nothing is written to it.
void receive(std::span<const uint8_t> bytes, uint32_t port) {
  bench::ReceivedFrame frame(bytes, port);
  int sent_frames = 0;
  const int answer = hand_over(dhcp6_packet_snooping_process, frame, [&](const SentFrame& sent) {
    HOLDS(std::ranges::equal(sent.bytes, bytes) && (sent.mode == 0 || sent.mode == 2));
    ++sent_frames;
  });
  HOLDS(sent_frames <= (answer == 0 ? 0 : 1) && (port != suppressed || sent_frames == 0));
  HOLDS(std::ranges::equal(frame.bytes(), bytes));
}

/// The IA that the input describes, whole or cut short.
void add_ia(FuzzedFrame& frame, uint8_t chosen, Input& input) {
  const bool temporary = (chosen & 1) != 0;
  std::vector<uint8_t> ia(temporary ? 4 : 12, 7);
  const uint8_t sub_option[] = {0, static_cast<uint8_t>((chosen & 2) != 0 ? input.byte() : option6::ia_address), 0, 24};
  ia.insert(ia.end(), std::begin(sub_option), std::end(sub_option));
  const base::Ip6 ip = address(input.byte());
  ia.insert(ia.end(), ip.bytes.begin(), ip.bytes.end());
  const auto lifetimes = input.bytes(8);
  ia.insert(ia.end(), lifetimes.begin(), lifetimes.end());
  if ((chosen & 4) != 0) ia.resize(std::min<size_t>(ia.size(), input.byte()));
  frame.option6(temporary ? option6::ia_ta : option6::ia_na, ia);
}

/// A client's message or a server's to it: who, which VLAN, type and options are the input's choice.
std::vector<uint8_t> message(Input& input) {
  const Mac who = client(input.byte());
  const uint8_t chosen = input.byte(), type = input.byte(), more = input.byte();
  auto frame = FuzzedFrame::dhcp6(who, vlans[chosen & 3], 546, 547);
  if ((chosen & 4) != 0) std::ranges::copy(who, frame.ethernet());
  if ((chosen & 8) != 0) std::ranges::copy(address(chosen).bytes, frame.ip() + packet::ip6::source.offset);
  frame.add(std::array<uint8_t, 4>{type, 1, 2, 3});
  if ((more & 8) != 0) frame.add(input.bytes(input.byte()));
  if ((more & 16) == 0) add_ia(frame, more, input);
  auto bytes = frame.sealed();
  if ((more & 32) != 0) packet::store_be16(&bytes[packet::tagged_udp6_offset + 4], input.word());
  return bytes;
}

void configure(Input& input) {
  const uint8_t what = input.byte(), value = input.byte();
  const uint32_t port = untrusted + value % 3;
  switch (what & 15) {
    case 0: gDhcp6Relay.status = value & 1; break;
    case 1: set_dhcp6_snoop_switch(value & 1); break;
    case 2: set_dhcp6_snoop_serverip(value >> 7, address(value).bytes.data()); break;
    case 3: set_dhcp6_snoop_trust(value & 1, port); break;
    case 4: set_dhcp6_snoop_bind(value >> 7, client(value).data(), port, vlans[value >> 5 & 1], value); break;
    case 5:
      dhcp6_snooping_binding_clear(value % 18, address(value).bytes.data(), client(value).data(), vlans[0], untrusted);
      break;
    case 6: set_dhcp6_snoop_vlan(value & 1, vlans[value >> 1 & 3]); break;
    default: null_device.macs_known = (value & 1) != 0; break;
  }
}

/// New clients until the table is full, and beyond.
void crowd(uint8_t first) {
  for (int n = 0; n < 60; ++n) find_MacBind6Struct(Mac{6, 0, 0, 0, first, static_cast<uint8_t>(n)}.data(), 1);
}

void tick(uint8_t amount) {
  null_device.now += (amount & 128) != 0 ? (amount & 127u) * 60 : amount;
  timer_dhcp6_snoop();
}

void play(Input& input) {
  const uint8_t step = input.byte();
  const uint32_t port = untrusted + (step >> 4) % 4;  // the fourth is like the first
  switch (step & 7) {
    case 5: return configure(input);
    case 6: return receive(input.bytes(input.word() % largest_frame), port);
    case 7: return (step & 8) != 0 ? crowd(input.byte()) : tick(input.byte());
    default: return receive(message(input), port);
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  return run_door({open, play, check_tables, close}, data, size);
}
