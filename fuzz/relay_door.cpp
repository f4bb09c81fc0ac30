/// The IPv4 relay's door: any frames from clients and servers, between changes of the switches, the tag mode, the
/// helpers and the clock, with helpers known and unknown and clients remembered.
#include <algorithm>

#include "base/list.h"
#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "fuzz/door.h"
#include "packet/layout.h"

namespace dhcp::fuzz {

namespace {

namespace ip4 = packet::ip4;
namespace udp = packet::udp;
namespace dhcp4 = packet::dhcp4;
using bench::null_device;
using packet::load_be16;
using packet::store_be16;
using packet::store_be32;

constexpr uint32_t client_port = 1, uplink = 24;
constexpr uint16_t vlans[] = {10, 20, 30, 4095};  // the first two have addresses

uint32_t helper(uint8_t n) { return 0x0a140005u + n % 16; }

void open() {
  static uint8_t buffer[DHCPR_BUFFER_SIZE];
  dhcpr_cfg.send_buf = buffer;
  init_DHCPR_cfg();
  init_dhcp_snooping();
  set_dhcp_snoop_option82_circuit_id(1, vlans[1], 3, "a circuit");
  set_dhcp_snoop_option82_ip(1, vlans[1], 0xc0000201);
  DHCPR_set_trust(1);
  DHCPR_set_dhcp_option82_switch(1);
  DHCPR_start(DHCPR_ON_MANAGEMENT_VLAN);
  int error = 0;
  for (uint8_t n = 0; n < 3; ++n) {
    DHCPR_find_dhcp_serverip(helper(n), 1, n == 2 ? nullptr : client(n).data(), vlans[1], &error);
  }
  for (uint8_t n = 1; n < 4; ++n) add_valid_table(client(n).data(), 0, client_port, vlans[0], n & 1);
}

void check() {
  HOLDS(ring_length(dhcpr_cfg.server_list) == dhcpr_cfg.server_count && dhcpr_cfg.server_count <= DHCPR_MAX_HELPERS);
  HOLDS(dhcpr_cfg.server_busy == 0 && dhcpr_cfg.port_users == 0);
  const auto used =
      std::ranges::count_if(dhcpr_cfg.info_table, [](const DhcpInfoNode& slot) { return slot.valid == 1; });
  HOLDS(used == dhcpr_cfg.info_count);
}

void close() {
  exit_dhcp_snooping();
  DHCPR_stop();
  init_DHCPR_cfg();  // frees the helpers
  exit_DHCPR_cfg();
  DHCPR_set_route_vlan(0, 0);
  dhcpr_cfg.send_buf = nullptr;
}

void receive_raw(std::span<const uint8_t> bytes, uint32_t port) {
  bench::ReceivedFrame frame(bytes);
  frame.skp().in_intf = port;
  hand_over(dhcpr_packet_process, frame, [](const SentFrame& sent) { HOLDS(sent.bytes.size() <= DHCPR_BUFFER_SIZE); });
}

/// A client's message or a server's: who, which VLAN and options are the input's choice.
void receive_message(Input& input, bool from_server, uint32_t port) {
  const uint8_t who = input.byte(), chosen = input.byte(), server = input.byte();
  auto frame = FuzzedFrame::dhcp4(client(who), vlans[chosen & 3]);
  frame.ip()[ip4::ttl.offset] = 64;
  if ((chosen & 4) != 0) frame.ethernet()[0] = 0x02;
  frame.message()[dhcp4::op.offset] = from_server ? dhcp4::boot_reply : dhcp4::boot_request;
  frame.message()[dhcp4::hops.offset] = who;
  store_be16(frame.message() + dhcp4::flags.offset, (chosen & 8) != 0 ? dhcp4::broadcast_flag : 0);
  store_be32(frame.message() + dhcp4::yiaddr.offset, 0x0a0a0100u + who);
  uint8_t identifier[4];
  store_be32(identifier, helper(server));
  if ((chosen & 16) != 0) frame.option4(54, identifier);
  if ((chosen & 32) != 0) frame.option4(82, input.bytes(server));
  if ((chosen & 64) != 0) frame.add(input.bytes(input.byte()));
  if ((chosen & 128) == 0) frame.option4(255, {});
  bench::ReceivedFrame received(frame.sealed());
  received.skp().in_intf = port;
  const bool routed = !from_server && dhcpr_cfg.tag_mode == 1;
  const int answer = hand_over(dhcpr_packet_process, received, [&](const SentFrame& sent) {
    HOLDS(load_be16(&sent.bytes[packet::tagged_ip_offset + ip4::total_length.offset]) ==
          sent.bytes.size() - packet::tagged_ip_offset);
    if (!routed) return;
    check_built_frame(sent);
    HOLDS(sent.mode == 4 && sent.bytes[packet::tagged_dhcp_offset + dhcp4::hops.offset] == uint8_t(who + 1));
  });
  HOLDS(from_server ? answer == 0 : true);
}

void configure(Input& input) {
  const uint8_t what = input.byte(), value = input.byte();
  int error = 0;
  switch (what & 7) {
    case 0: DHCPR_set_trust(value % 3); break;
    case 1: DHCPR_set_dhcp_option82_switch(value & 1); break;
    case 2: DHCPR_start(1 + (value & 1)); break;
    case 3: DHCPR_set_route_vlan(value % 4, vlans[value >> 6]); break;
    case 4: DHCPR_find_dhcp_serverip(helper(value), 1, client(value).data(), vlans[value >> 6], &error); break;
    case 5: DHCPR_set_dhcp_serverip(0, helper(value)); break;
    case 6: null_device.macs_known = (value & 1) != 0; break;
    default: null_device.now += value; break;
  }
}

/// New clients, up to more than the table holds.
void crowd(uint8_t first) {
  for (int n = 0; n < 60; ++n) {
    const Mac mac{0x06, 0, 0, 0, first, static_cast<uint8_t>(n)};
    add_valid_table(mac.data(), 0, client_port, vlans[0], 0);
  }
}

void play(Input& input) {
  const uint8_t step = input.byte();
  switch (step & 7) {
    case 5: return configure(input);
    case 6: return receive_raw(input.bytes(input.word() % largest_frame), (step & 8) != 0 ? uplink : client_port);
    case 7: return crowd(input.byte());
    default: return receive_message(input, (step & 1) != 0, (step & 8) != 0 ? 0x10000002 : uplink);
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  return run_door({open, play, check, close}, data, size);
}
