/// The DHCPv6 server's door: clients and relays, between changes of the configuration, the clock and the device, with
/// leases, offers and conflicts in place.
#include <algorithm>
#include <array>
#include <vector>

#include "base/ip6.h"
#include "base/list.h"
#include "dhcp/server6.h"
#include "fuzz/door.h"
#include "packet/options6.h"

namespace dhcp::fuzz {

namespace {

using base::Ip6;
using bench::null_device;
using packet::load_be16;
namespace option6 = packet::option6;

/// One pool of the VLAN's prefix, one from start to end that is smaller than its clients are many.
constexpr uint32_t wide_pool = 1, narrow_pool = 2;
constexpr uint16_t vlans[] = {10, 20, 10, 30};  // 30 has no address
constexpr uint32_t largest_crowd = 300;

/// In the wide pool's prefix (around its start), or in and around the narrow pool.
Ip6 pool_address(uint8_t n) {
  Ip6 ip{{0x20, 1, 0x0d, 0xb8, 0, static_cast<uint8_t>((n & 0x40) != 0 ? 0x20 : 0x10)}};
  ip.bytes[15] = n & 0x3f;
  if (n >= 0xc0) ip.bytes[n & 15] ^= n;
  return ip;
}

void set_pools() {
  dhcp6_server_create_pool_entry(wide_pool);
  dhcp6_server_create_pool_entry(narrow_pool);
  dhcp6_server_set_pool_network(wide_pool, pool_address(0x10).bytes.data(), nullptr, 64);
  dhcp6_server_set_pool_network(narrow_pool, pool_address(0x50).bytes.data(), pool_address(0x5f).bytes.data(), 0);
}

/// What a client's message is made of: every part may be there or not, or be raw bytes.
void add_options(FuzzedFrame& frame, Input& input, uint8_t who) {
  const uint8_t chosen = input.byte();
  const Mac mac = client(who);
  std::vector<uint8_t> id(mac.begin(), mac.end());
  if ((chosen & 1) != 0) id.resize(input.byte() * 4u, who);
  if ((chosen & 2) == 0) frame.option6(option6::client_id, id);
  if ((chosen & 4) != 0) frame.option6(option6::server_id, dhcp6s_cfg.duid);
  if ((chosen & 8) == 0) {
    std::vector<uint8_t> ia((chosen & 16) != 0 ? 4 : 12, who);
    const auto address = pool_address(input.byte()).bytes;
    const std::array<uint8_t, 4> header{0, 5, 0, 24};
    ia.insert(ia.end(), header.begin(), header.end());
    ia.insert(ia.end(), address.begin(), address.end());
    ia.resize(ia.size() + 8, 1);
    if ((chosen & 32) != 0) ia.resize(input.byte() % (ia.size() + 1));
    frame.option6((chosen & 16) != 0 ? option6::ia_ta : option6::ia_na, ia);
  }
  if ((chosen & 64) != 0) frame.option6(input.byte(), input.bytes(input.byte()));
  if ((chosen & 128) != 0) frame.add(input.bytes(input.byte()));
}

std::vector<uint8_t> client_message(Input& input, uint8_t who) {
  auto frame = FuzzedFrame::dhcp6(client(who), vlans[who & 3], 546, 547);
  const std::array<uint8_t, 4> header{input.byte(), 0, 0, who};
  frame.add(header);
  add_options(frame, input, who);
  return frame.sealed();
}

/// The same message, as a relay carries it.
std::vector<uint8_t> relayed_message(Input& input, uint8_t who) {
  const std::vector<uint8_t> whole = client_message(input, who);
  const auto inner = std::span(whole).subspan(packet::tagged_dhcp6_offset);
  const uint8_t chosen = input.byte();
  auto frame = FuzzedFrame::dhcp6(client(63), vlans[chosen & 3], 547, 547);
  std::array<uint8_t, packet::relay6::header_size> header{static_cast<uint8_t>((chosen & 4) != 0 ? 13 : 12), chosen};
  if ((chosen & 8) == 0) pool_address(input.byte()).copy_to(&header[packet::relay6::link.offset]);
  frame.add(header);
  if ((chosen & 16) != 0) frame.option6(option6::interface_id, input.bytes(input.byte()));
  frame.option6(option6::relay_message, inner);
  if ((chosen & 32) != 0) frame.add(input.bytes(input.byte()));
  return frame.sealed();
}

/// A message that the server has built, with or without a relay's around it. Its address, when it promises one.
void check_answer(std::span<const uint8_t> sent) {
  std::vector<uint8_t> message(sent.begin(), sent.end());
  HOLDS(message.size() > packet::dhcp6::header_size && (message[0] == 2 || message[0] == 7));
  const auto options = std::span(message).subspan(packet::dhcp6::header_size);
  size_t index = 0;
  packet::Option6 option{};
  while (packet::next_option6(options, index, option)) continue;
  HOLDS(index == options.size() && options.size() < packet::options6_limit);
  const auto server = packet::find_option6(options, option6::server_id);
  HOLDS(server && std::ranges::equal(*server, dhcp6s_cfg.duid));
  const auto ia = packet::find_ia6(options);
  const auto promised = ia ? ia->whole_address() : std::nullopt;
  HOLDS(!ia || ia->whole());
  if (!promised) return;
  for (const Dhcp6Binding& binding : base::Records<Dhcp6Binding>(dhcp6s_cfg.bindings.head)) {
    if (Ip6::from(binding.ip6) != promised->ip) continue;
    // A CONFIRM may meet an offer.
    HOLDS(binding.state == DHCP6S_OFFERED || message[0] == 7);
    HOLDS(binding.state == DHCP6S_BOUND || binding.time == null_device.now || message[0] == 7);
    return;
  }
  HOLDS(false);
}

void judge(const SentFrame& sent) {
  check_built_frame(sent);
  HOLDS(sent.mode == 2 && !sent.to_all_ports);
  const uint8_t* udp = &sent.bytes[packet::tagged_udp6_offset];
  HOLDS(load_be16(udp) == 547);
  const auto message = sent.bytes.subspan(packet::tagged_dhcp6_offset);
  if (load_be16(udp + 2) == 546) return check_answer(message);
  HOLDS(load_be16(udp + 2) == 547 && message.size() > packet::relay6::header_size && message[0] == 13);
  std::vector<uint8_t> copy(message.begin() + packet::relay6::header_size, message.end());
  HOLDS(copy.size() < packet::options6_limit);
  const auto inner = packet::find_option6(copy, option6::relay_message);
  HOLDS(inner.has_value());
  check_answer(*inner);
}

void receive(std::span<const uint8_t> bytes) {
  bench::ReceivedFrame frame(bytes);
  hand_over(dhcp6_server_packet_process, frame, judge);
  HOLDS(std::ranges::equal(frame.bytes(), bytes));
}

void change_pool(Input& input) {
  const uint8_t how = input.byte();
  const uint32_t pool = (how & 1) != 0 ? narrow_pool : wide_pool;
  const Ip6 start = pool_address(input.byte()), end = pool_address(input.byte());
  switch (how >> 1 & 7) {
    case 0: dhcp6_server_del_pool_entry(pool); break;
    case 1: dhcp6_server_del_pool_network(pool); break;
    case 2: set_pools(); break;
    case 3: dhcp6_server_set_pool_lifetime(pool, input.byte(), (how & 128) != 0 ? 0xffffffff : input.byte()); break;
    case 4: dhcp6_server_set_pool_network(pool, start.bytes.data(), end.bytes.data(), input.byte()); break;
    case 5: {
      const std::string name(input.byte(), 'n');
      (how & 128) != 0 ? dhcp6_server_del_domain_name(pool, name.c_str())
                       : dhcp6_server_set_domain_name(pool, name.c_str());
      break;
    }
    default: dhcp6_server_set_pool_network(pool, start.bytes.data(), end.bytes.data(), 0);
  }
}

void change_lists(Input& input) {
  const uint8_t how = input.byte(), place = input.byte();
  const uint32_t pool = (how & 1) != 0 ? narrow_pool : wide_pool;
  const Ip6 ip = pool_address(place);
  const Mac mac = client(input.byte());
  switch (how >> 1 & 7) {
    case 0: dhcp6_server_set_exclude_ip(pool, ip.bytes.data()); break;
    case 1: dhcp6_server_del_exclude_ip(pool, ip.bytes.data()); break;
    case 2: dhcp6_server_set_static_host(pool, mac.data(), ip.bytes.data()); break;
    case 3: dhcp6_server_del_static_host(pool, mac.data()); break;
    case 4: dhcp6_add_conflict_ip(ip.bytes.data()); break;
    case 5: dhcp6_server_clear_conflict(place == 255 ? nullptr : ip.bytes.data()); break;
    case 6: dhcp6_server_clear_binding(place == 255 ? nullptr : ip.bytes.data()); break;
    default: null_device.macs_known = (place & 1) != 0;
  }
}

/// Time goes on, by seconds or by hours, and the server looks what has ended.
void tick(Input& input) {
  const uint8_t amount = input.byte();
  null_device.now += (amount & 128) != 0 ? (amount & 127u) * 3600 : amount;
  dhcp6s_binding_expire_timeout();
}

/// Clients never seen before, as many as it takes to come near the limit.
void crowd(uint8_t count) {
  static constexpr uint8_t solicit[] = {1, 0, 0, 0};
  Dhcp6Pool* pool = dhcp6_get_pool_by_id(wide_pool);
  if (pool == nullptr || pool->binding_count > static_cast<int32_t>(largest_crowd)) return;
  for (uint16_t n = 0; n < count; ++n) {
    auto frame = FuzzedFrame::dhcp6(client(0), vlans[0], 546, 547);
    frame.add(solicit);
    const std::array<uint8_t, 4> id{0xcc, static_cast<uint8_t>(pool->binding_count >> 8), static_cast<uint8_t>(n), 0};
    frame.option6(option6::client_id, id);
    frame.option6(option6::ia_na, std::array<uint8_t, 12>{});
    receive(frame.sealed());
  }
}

void open() {
  init_DHCP6S_cfg();
  dhcp6_server_start_stop(1);
  set_pools();
  const uint8_t dns[2][16] = {{0x20, 1}, {0x20, 2}};
  dhcp6_server_set_dns_srv(wide_pool, dns, 2);
  dhcp6_server_set_domain_name(wide_pool, "example.net");
  dhcp6_server_set_exclude_ip(wide_pool, pool_address(0x12).bytes.data());
  dhcp6_server_set_static_host(wide_pool, client(5).data(), pool_address(0x15).bytes.data());
  dhcp6_add_conflict_ip(pool_address(0x11).bytes.data());
  for (uint8_t who = 0; who < 4; ++who) {
    const Mac id = client(who);
    Dhcp6Binding* binding = dhcp6_add_binding(id.data(), static_cast<int>(id.size()), dhcp6_get_pool_by_id(wide_pool),
                                              pool_address(static_cast<uint8_t>(0x20 + who)).bytes.data());
    if (who < 2) binding->state = DHCP6S_BOUND, binding->valid = 3600;
  }
}

void step(Input& input) {
  const uint8_t kind = input.byte();
  switch (kind & 7) {
    case 0: return receive(input.bytes(input.word() % largest_frame));
    case 1:
    case 2: return receive(client_message(input, input.byte()));
    case 3:
    case 4: return receive(relayed_message(input, input.byte()));
    case 5: return (kind & 8) != 0 ? tick(input) : crowd(input.byte());
    case 6: return change_pool(input);
    default: return change_lists(input);
  }
}

/// The lists' counts, the pools' counts, and that no address is bound twice or outside its pool.
void check() {
  HOLDS(dhcp6s_cfg.pools.busy == 0 && dhcp6s_cfg.bindings.busy == 0 && dhcp6s_cfg.conflicts.busy == 0);
  HOLDS(ring_length(dhcp6s_cfg.pools.head) == dhcp6s_cfg.pools.count);
  HOLDS(ring_length(dhcp6s_cfg.bindings.head) == dhcp6s_cfg.bindings.count && dhcp6s_cfg.bindings.count <= 500);
  HOLDS(ring_length(dhcp6s_cfg.conflicts.head) == dhcp6s_cfg.conflicts.count);
  std::vector<Ip6> addresses;
  int32_t counted = 0;
  for (const Dhcp6Pool& pool : base::Records<Dhcp6Pool>(dhcp6s_cfg.pools.head)) counted += pool.binding_count;
  for (const Dhcp6Binding& binding : base::Records<Dhcp6Binding>(dhcp6s_cfg.bindings.head)) {
    addresses.push_back(Ip6::from(binding.ip6));
  }
  HOLDS(counted == dhcp6s_cfg.bindings.count);
  std::ranges::sort(addresses);
  HOLDS(std::ranges::adjacent_find(addresses) == addresses.end());
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  static constexpr Door door{open, step, check, init_DHCP6S_cfg};
  return run_door(door, data, size);
}
