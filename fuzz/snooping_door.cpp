/// IPv4 snooping's door: any frames on trusted, untrusted and suppressed ports, between changes of the configuration
/// and the clock, with bindings in place and option 82 on and off.
#include <algorithm>
#include <array>
#include <vector>

#include "base/list.h"
#include "dhcp/packet.h"
#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "fuzz/door.h"
#include "packet/options4.h"

namespace dhcp::fuzz {

namespace {

namespace ip4 = packet::ip4;
namespace udp = packet::udp;
namespace dhcp4 = packet::dhcp4;
using bench::null_device;
using packet::load_be16;
using packet::store_be32;

constexpr uint32_t untrusted = 1, trusted = 2, suppressed = 3;
constexpr uint16_t vlans[] = {10, 20, 30, 4095};  // the first two are snooped

uint32_t address(uint8_t n) { return 0x0a0a0000u + n % 32; }

void check_index(const DhcpSnoopIndex& index, size_t link, int32_t& total) {
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    HOLDS(index.busy[bucket] == 0);
    const int32_t entries = ring_length(index.head[bucket]);
    for (const DhcpListHead* at = index.head[bucket].next; link != 0 && at != &index.head[bucket]; at = at->next) {
      const auto* entry = reinterpret_cast<const MacBindStruct*>(reinterpret_cast<const uint8_t*>(at) - link);
      HOLDS(entry->vlan != 0 && entry->ip != 0);
    }
    HOLDS(index.count[bucket] == entries);
    total += entries;
  }
}

/// Counts, links and busy words agree, and no (VLAN, address) belongs to two.
void check_tables() {
  int32_t by_mac = 0, by_address = 0;
  check_index(g_dhcp_snooping.mac_index, offsetof(MacBindStruct, mac_link), by_mac);
  check_index(g_dhcp_snooping.ip_index, offsetof(MacBindStruct, ip_link), by_address);
  HOLDS(by_mac == g_dhcp_snooping.bind_count && by_mac <= 250 && by_address <= by_mac);
  HOLDS(g_dhcp_snooping.intf_busy == 0);
  std::array<DhcpSnoopBinding, 250> all;
  const int count = dhcp_snoop_get_bindings(all.data(), static_cast<int>(all.size()));
  HOLDS(count == by_mac);
  for (int i = 0; i < count; ++i) {
    MacBindStruct* holder = all[static_cast<size_t>(i)].ip != 0
                                ? find_VlanIp_entry(all[static_cast<size_t>(i)].vlan, all[static_cast<size_t>(i)].ip)
                                : nullptr;
    HOLDS(holder == nullptr || find_MacBindStruct(holder->mac, 0) == holder);
  }
}

/// What leaves is what came in, or a frame whose lengths and header checksum fit together.
void judge(std::span<const uint8_t> frame, std::span<const uint8_t> received) {
  if (std::ranges::equal(frame, received)) return;
  HOLDS(frame.size() <= 1500 && frame.size() >= packet::tagged_dhcp_offset + dhcp4::fixed_size + 1);
  const uint8_t* ip = &frame[packet::tagged_ip_offset];
  const uint8_t* header = &frame[packet::tagged_udp_offset];
  HOLDS(load_be16(header + udp::checksum.offset) == 0);
  HOLDS(check_sum(ip, ip4::header_size) == 0);
  const int grown = static_cast<int>(frame.size()) - static_cast<int>(received.size());
  for (const size_t at :
       {packet::tagged_ip_offset + ip4::total_length.offset, packet::tagged_udp_offset + udp::length.offset}) {
    HOLDS(load_be16(&frame[at]) == static_cast<uint16_t>(load_be16(&received[at]) + grown));
  }
}

void open() {
  dhcpr_cfg.status = DHCPR_OFF;
  init_dhcp_snooping();
  set_dhcp_snoop_switch(1);
  set_dhcp_snoop_vlan(1, vlans[0]);
  set_dhcp_snoop_vlan(1, vlans[1]);
  set_dhcp_snoop_trust(1, trusted);
  set_dhcp_snoop_suppression(1, suppressed);
  set_dhcp_snoop_option82_switch(1);
  set_dhcp_snoop_option82_circuit_id(1, vlans[1], 3, "a circuit");
  set_dhcp_snoop_option82_ip(1, vlans[1], 0xc0000201);
  for (uint8_t n = 1; n < 4; ++n) {
    set_dhcp_snoop_bind(1, client(n).data(), n == 3 ? 0 : address(n), untrusted, vlans[0], 600);
  }
}

void receive(std::span<const uint8_t> bytes, uint32_t port) {
  bench::ReceivedFrame frame(bytes, port);
  hand_over(dhcp_packet_snooping_process, frame, [bytes](const SentFrame& sent) {
    HOLDS(sent.mode == 0 || sent.mode == 2);
    judge(sent.bytes, bytes);
  });
  HOLDS(std::ranges::equal(frame.bytes(), bytes));
}

/// With the relay on, a rewritten frame is put back into the storage it came in, which has the room for it.
void receive_for_relay(std::span<const uint8_t> bytes, uint32_t port) {
  bench::ReceivedFrame frame(bytes, port, largest_frame - std::min(bytes.size(), largest_frame));
  dhcpr_cfg.status = DHCPR_ON;
  const int result =
      hand_over(dhcp_packet_snooping_process, frame, [bytes](const SentFrame& sent) { judge(sent.bytes, bytes); });
  dhcpr_cfg.status = DHCPR_OFF;
  HOLDS(frame.bytes().size() <= largest_frame);
  if (result == 0) judge(frame.bytes(), bytes);
}

/// A frame of a client or for one: who, which VLAN, type and options are the input's choice.
std::vector<uint8_t> message(Input& input) {
  const uint8_t who = input.byte(), chosen = input.byte(), type = input.byte();
  const Mac mac = client(who);
  FuzzedFrame frame = FuzzedFrame::dhcp4(mac, vlans[chosen >> 1 & 3]);
  if ((chosen & 1) != 0) frame.ethernet()[0] = 0x02;
  if ((who & 128) != 0) frame.ethernet()[11] ^= 0x80;  // a sender that is not the client
  store_be32(frame.ip() + ip4::source.offset, address(chosen >> 3));
  store_be32(frame.message() + dhcp4::ciaddr.offset, (chosen & 64) != 0 ? address(who) : 0);
  store_be32(frame.message() + dhcp4::yiaddr.offset, address(input.byte()));
  frame.option4(53, {&type, 1});
  if ((chosen & 128) != 0) frame.option4(51, input.bytes(4));
  const uint8_t more = input.byte();
  if ((more & 1) != 0) frame.option4(82, input.bytes(more >> 2));
  if ((more & 2) != 0) {
    frame.add(input.bytes(input.byte()));
  } else {
    frame.add(std::array{packet::option::end});
  }
  return frame.sealed();
}

void configure(Input& input) {
  const uint8_t what = input.byte(), value = input.byte();
  switch (what & 15) {
    case 0: set_dhcp_snoop_option82_switch(value & 1); break;
    case 1: set_dhcp_snoop_untrust_option82_switch(value & 1); break;
    case 2: set_dhcp_snoop_verify(value & 1); break;
    case 3: set_dhcp_snoop_verify_mac(value >> 7, client(value).data(), value >> 6 & 1); break;
    case 4: set_dhcp_snoop_serverip(value >> 7, address(value)); break;
    case 5: set_dhcp_snoop_trust(value & 1, untrusted + value % 3); break;
    case 6:
      set_dhcp_snoop_bind(value >> 7, client(value).data(), address(value >> 2), untrusted, vlans[value & 1], value);
      break;
    case 7: dhcp_snooping_binding_clear(value % 18, address(value), client(value).data(), vlans[0], untrusted); break;
    case 8: set_dhcp_snoop_vlan(value & 1, vlans[value >> 1 & 3]); break;
    case 9: set_dhcp_snoop_option82_remote_id(value & 1, vlans[value >> 1 & 1], value, "somebody's remote id"); break;
    default: null_device.macs_known = (value & 1) != 0; break;
  }
}

/// New clients until the table is full, and beyond.
void crowd(uint8_t first) {
  for (int n = 0; n < 60; ++n) {
    const Mac mac{0x06, 0, 0, 0, first, static_cast<uint8_t>(n)};
    dhcp_snooping_mutex_lock_func();
    find_MacBindStruct(mac.data(), 1);
    dhcp_snooping_mutex_unlock_func();
  }
}

void tick(uint8_t amount) {
  null_device.now += (amount & 128) != 0 ? (amount & 127u) * 60 : amount;
  dhcp_snooping_mutex_lock_func();
  timer_dhcp_snoop();
  dhcp_snooping_mutex_unlock_func();
}

void play(uint8_t step, Input& input) {
  const uint32_t port = untrusted + (step >> 4) % 4;  // the fourth is like the first
  switch (step & 7) {
    case 5: return configure(input);
    case 6: return receive(input.bytes(input.word() % largest_frame), port);
    case 7: return (step & 8) != 0 ? crowd(input.byte()) : tick(input.byte());
    case 4: return receive_for_relay(message(input), port);
    default: return receive(message(input), port);
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  const auto step = [](Input& input) {
    const uint8_t chosen = input.byte();
    play(chosen, input);
  };
  return run_door({open, step, check_tables, [] { exit_dhcp_snooping(); }}, data, size);
}
