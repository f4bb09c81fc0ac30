/// The DHCPv6 client's door: any frames to interfaces in all seven states, between seconds that pass, changes of modes
/// and restarts by hand.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "client6/client6.h"
#include "dhcp/client6.h"
#include "fuzz/door.h"
#include "packet/kept_option6.h"

namespace dhcp::fuzz {

namespace {

using bench::null_device;
namespace option6 = packet::option6;

constexpr uint16_t first_vlan = 10, vlans = 8;  // the last one has no interface at first
constexpr int states = 7;
constexpr uint16_t client_port = 546, server_port = 547;
constexpr Mac own{0x02, 0, 0, 0, 0, 0x99};

/// A node that holds an address and is in the given state.
void preload(int state) {
  const uint32_t vlan = first_vlan + static_cast<uint32_t>(state);
  HOLDS(dhcp6c_interface_node_add(vlan) == 0);
  Dhcp6cInterfaceNode& node = *dhcp6c_find_interface_node(vlan);
  node.state = state;
  node.xid = vlan;
  node.installed = state >= DHCPC6_BOUND ? 1 : 0;
  node.bound_time = null_device.now;
  node.t1 = 20, node.t2 = 40, node.valid_lifetime = 60;
  constexpr std::array<uint8_t, 3> server{0, 2, 9};
  std::array<uint8_t, 40> ia{};
  ia[13] = option6::ia_address, ia[15] = 24, ia[16] = 0x20;
  client6::keep(node.server_id, packet::keep_option6(option6::server_id, server));
  client6::keep(node.ia, packet::keep_option6(option6::ia_na, ia));
  client6::keep(node.address, std::unique_ptr<uint8_t[]>(new uint8_t[16]{0x20}));
}

void open() {
  dhcp6c_init();
  std::ranges::copy(own, dhcpc6_golbal_config.mac);
  for (int state = 0; state < states; ++state) preload(state);
}

/// A record is as long as it says, and a sanitizer sees every byte.
void check_record(uint8_t* record, uint16_t code) {
  if (record == nullptr) return;
  const packet::Option6 option = packet::kept_option6(record);
  HOLDS(option.code == code);
  HOLDS(code != option6::ia_na || option.value.size() == 12 || option.value.size() == 40);
  volatile uint8_t last = option.value.empty() ? uint8_t{0} : option.value.back();
  static_cast<void>(last);
}

void check() {
  HOLDS(dhcpc6_golbal_config.busy == 0);
  HOLDS(ring_length(dhcpc6_golbal_config.nodes) == dhcpc6_golbal_config.node_count);
  for (const Dhcp6cInterfaceNode& node : client6::nodes()) {
    HOLDS(node.client_id != nullptr && node.state >= 0 && node.state < states && node.xid <= 0xffffff);
    HOLDS(node.address == nullptr || node.ia != nullptr);
    check_record(node.server_id, option6::server_id);
    check_record(node.ia, option6::ia_na);
  }
  std::array<Dhcp6cInterface, 64> all;
  HOLDS(dhcp6c_get_interfaces(all.data(), all.size()) == dhcpc6_golbal_config.node_count);
}

/// Everything goes to all ports, whole and with a right checksum.
void judge_sent(std::span<const uint8_t> bytes, const intf_order_list* ports, uint32_t vlan, int mode) {
  HOLDS(mode == 0);
  check_built_frame({bytes, ports == nullptr, vlan, mode});
  const auto message = bytes.subspan(packet::tagged_dhcp6_offset);
  HOLDS(message.size() >= packet::dhcp6::header_size);
  size_t index = 0;
  packet::Option6 option{};
  std::array<uint8_t, 1024> options;
  const size_t size = std::min(message.size() - packet::dhcp6::header_size, options.size());
  std::copy_n(message.begin() + packet::dhcp6::header_size, size, options.begin());
  while (packet::next_option6(std::span(options).first(size), index, option)) continue;
  HOLDS(index == size);
}

void receive(std::span<const uint8_t> bytes) {
  bench::ReceivedFrame frame(bytes);
  hand_over(dhcp6_client_packet_process, frame, [](const SentFrame& sent) {
    HOLDS(sent.bytes.empty());  // answers are not answered
  });
  HOLDS(std::ranges::equal(frame.bytes(), bytes));
}

/// A server's message for one of the interfaces, with what options it should have, and others.
std::vector<uint8_t> answer(Input& input) {
  const uint8_t where = input.byte(), chosen = input.byte(), type = input.byte();
  const auto vlan = static_cast<uint16_t>(first_vlan + where % vlans);
  FuzzedFrame frame = FuzzedFrame::dhcp6(client(where), vlan, server_port, client_port);
  const Dhcp6cInterfaceNode* node = dhcp6c_find_interface_node(vlan);
  const uint32_t xid = node != nullptr ? node->xid ^ (where >> 7) : 0;
  frame.add(std::array{static_cast<uint8_t>((type & 128) != 0 ? type & 15 : 2 + type % 2 * 5),
                       static_cast<uint8_t>(xid >> 16), static_cast<uint8_t>(xid >> 8), static_cast<uint8_t>(xid)});
  if ((chosen & 1) == 0) frame.add(std::span(dhcpc6_golbal_config.client_id));
  if ((chosen & 2) == 0) frame.option6(option6::server_id, input.bytes(input.byte() * size_t{(chosen >> 6) + 1u}));
  if ((chosen & 4) == 0) frame.option6(option6::ia_na, input.bytes(input.byte() % 64));
  if ((chosen & 8) != 0) frame.option6(option6::status_code, input.bytes(input.byte() % 4));
  if ((chosen & 16) != 0) frame.option6(option6::dns_servers, input.bytes(input.byte() % 64));
  if ((chosen & 32) != 0) frame.option6(26, input.bytes(input.byte() % 32));
  if ((chosen & 128) != 0) frame.add(input.bytes(input.byte()));
  return frame.sealed();
}

void change(Input& input) {
  const uint8_t what = input.byte();
  const uint32_t vlan = first_vlan + what % vlans;
  switch (what >> 5) {
    case 0: dhcp6c_manual_set_renew_state(vlan); break;
    case 1: dhcp6c_set_interface_ip6_mode(vlan, DHCP6C_MODE_STATIC); break;
    case 2:
      if (dhcpc6_golbal_config.node_count < 32) dhcp6c_interface_node_add(vlan);
      break;
    case 3:
      if (Dhcp6cInterfaceNode* node = dhcp6c_find_interface_node(vlan)) node->mode = DHCP6C_MODE_STATIC;
      break;
    default: dhcp6c_set_interface_ip6_mode(vlan, DHCP6C_MODE_DHCPV6); break;
  }
}

void pass(uint8_t seconds) {
  null_device.now += (seconds & 128) != 0 ? 0u - (seconds & 127u) : seconds;
  null_device.on_frame = judge_sent;
  client6::pass();
  null_device.on_frame = nullptr;
}

void step(Input& input) {
  const uint8_t chosen = input.byte();
  switch (chosen & 7) {
    case 4:
    case 5: return pass(input.byte());
    case 6: return change(input);
    case 7: return receive(input.bytes(input.word() % largest_frame));
    default: return receive(answer(input));
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  return run_door({open, step, check, dhcp6c_init}, data, size);
}
