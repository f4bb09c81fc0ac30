/// The IPv4 server's door: any frames, between changes of the configuration, the clock and the device, with leases and
/// everything else in place.
#include <algorithm>
#include <array>
#include <vector>

#include "base/list.h"
#include "bench/client_frames.h"
#include "fuzz/sent_frames.h"
#include "fuzz/server_world.h"
#include "packet/frame4.h"
#include "packet/options4.h"
#include "server/client_key.h"

namespace dhcp::fuzz {

namespace {

namespace ip4 = packet::ip4;
namespace dhcp4 = packet::dhcp4;
using bench::null_device;
using bench::ReceivedFrame;
using packet::store_be32;

constexpr uint32_t largest_crowd = 300;
uint32_t seen;  // clients of crowds

/// The client's binding found the plain way: the list walked newest first.
DhcpBinding* plain_find(const server::ClientKey& key, uint32_t pool_id, uint32_t ip) {
  for (DhcpBinding& binding : base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    if (binding.id_type != key.type ||
        !std::equal(binding.client_id, binding.client_id + binding.id_len, key.bytes.begin())) {
      continue;
    }
    if (pool_id == 0 || (binding.pool_id == pool_id && (ip == 0 || binding.ip == ip))) return &binding;
  }
  return nullptr;
}

void check_lookup(skpack& skp) {
  const auto frame = packet::Frame4::parse(skp);
  if (!frame) return;
  const server::ClientKey key = server::client_key(frame->message());
  const uint32_t wanted = packet::ip_option(frame->message(), packet::option::requested_ip).value_or(0);
  HOLDS(dhcp_get_binding(&skp, 0, 0) == plain_find(key, 0, 0));
  for (const PoolPlan& plan : pool_plans) {
    HOLDS(dhcp_get_binding(&skp, plan.id, 0) == plain_find(key, plan.id, 0));
    HOLDS(dhcp_get_binding(&skp, plan.id, wanted) == plain_find(key, plan.id, wanted));
  }
}

/// The state that a reply promises its client.
void check_promise(const Reply& reply) {
  if (reply.address == 0) return;
  const auto bound = base::Records<DhcpBinding>(dhcps_cfg.bindings.head);
  for (const DhcpBinding& binding : bound) {
    if (binding.ip != reply.address) continue;
    HOLDS(binding.state == (reply.type == 2 ? DHCPS_OFFERED : DHCPS_ACKNOWLEDGED));
    HOLDS(binding.expire > null_device.now);
    return;
  }
  HOLDS(reply.address == 0);
}

void receive(ReceivedFrame& frame) {
  const std::vector<uint8_t> before(frame.bytes().begin(), frame.bytes().end());
  const int32_t bindings = dhcps_cfg.bindings.count;
  check_lookup(frame.skp());
  SentFrames sent(before);
  const int result = hand_over(dhcp_server_packet_process, frame, [&](const SentFrame& out) { sent.judge(out); });
  HOLDS(result == 0 ? !sent.given_back() : !sent.reply());
  HOLDS(!sent.given_back() || dhcps_cfg.bindings.count == bindings);
  HOLDS(std::ranges::equal(frame.bytes(), before));
  if (sent.reply()) check_promise(*sent.reply());
}

/// Header pointers as a careless device may leave them: absent, or computed past the frame's end.
void bend_pointers(skpack& skp, uint8_t how) {
  if ((how & 1) != 0) skp.ud_hdr = nullptr;
  if ((how & 2) != 0) skp.ip_hdr = nullptr;
  if ((how & 4) != 0) skp.vlan_tag = nullptr;
  if ((how & 8) != 0) skp.upper = nullptr;
  const auto past = [&skp](size_t offset) {
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(skp.data) + offset);
  };
  if ((how & 16) != 0) skp.ip_hdr = past(packet::tagged_ip_offset);
  if ((how & 32) != 0) skp.ud_hdr = past(packet::tagged_udp_offset);
  if ((how & 64) != 0) skp.vlan_tag = past(packet::eth::tpid.offset);
  if ((how & 128) != 0) skp.psize = std::min<uint32_t>(skp.psize, 286);
}

void add_address(FuzzedFrame& out, uint8_t code, uint32_t address) {
  std::array<uint8_t, 4> wire;
  store_be32(wire.data(), address);
  out.option4(code, wire);
}

/// The options that the input chooses; a tail of raw bytes may follow, and an end option need not.
void add_options(FuzzedFrame& out, Input& input) {
  constexpr uint8_t wanted[] = {1, 3, 6, 13, 15, 66, 67, 200};
  const uint8_t type = input.byte(), chosen = input.byte();
  out.option4(packet::option::message_type, {&type, 1});
  if ((chosen & 1) != 0) add_address(out, packet::option::requested_ip, pool_address(input.byte()));
  if ((chosen & 2) != 0) add_address(out, packet::option::server_id, bench::NullDevice::vlan_ips[input.byte() % 2]);
  if ((chosen & 4) != 0) out.option4(packet::option::parameter_list, wanted);
  if ((chosen & 8) != 0) out.option4(packet::option::client_id, input.bytes(input.byte() % 40));
  if ((chosen & 16) != 0) out.option4(packet::option::parameter_list, input.bytes(input.byte()));
  if ((chosen & 32) != 0) {
    const uint8_t fields = input.byte();
    out.option4(packet::option::overload, {&fields, 1});
  }
  if ((chosen & 64) != 0) out.add(input.bytes(input.byte()));
  if ((chosen & 128) == 0) out.add(std::array{packet::option::end});
}

/// A whole frame of one of 64 clients, on a VLAN of ours or another's, direct or through a relay.
std::vector<uint8_t> client_message(Input& input) {
  constexpr uint16_t vlans[] = {10, 20, 10, 30};
  constexpr uint32_t relays[] = {0, 0, 0, 0x0a1e0009, 0xffffff09, 0x0a0a0009, 0, 0xc0000201};
  const uint8_t number = input.byte(), chosen = input.byte();
  FuzzedFrame frame = FuzzedFrame::dhcp4(client(number), vlans[chosen >> 1 & 3]);
  if ((chosen & 1) != 0) frame.ethernet()[0] = 0x02;
  store_be32(frame.ip() + ip4::destination.offset, (chosen & 1) != 0 ? bench::NullDevice::vlan_ips[0] : ip4::broadcast);
  uint8_t* message = frame.message();
  message[dhcp4::op.offset] = dhcp4::boot_request;
  message[dhcp4::htype.offset] = 1;
  message[dhcp4::hlen.offset] = number < 192 ? 6 : number;
  store_be32(message + dhcp4::xid.offset, number * 0x01010101u);
  if ((chosen & 8) != 0) message[dhcp4::flags.offset] = 0x80;
  if ((chosen & 16) != 0) store_be32(message + dhcp4::ciaddr.offset, pool_address(input.byte()));
  store_be32(message + dhcp4::giaddr.offset, relays[chosen >> 5]);
  add_options(frame, input);
  return frame.sealed();
}

/// Clients never seen before, one DISCOVER each, as many as it takes to come near the limit.
void crowd(uint8_t count) {
  for (; count > 0 && seen < 2 * largest_crowd; --count, ++seen) {
    bench::ClientFrames frames(bench::client_mac(seen));
    std::array<uint8_t, bench::client_frame_size + bench::tag_size> tagged{};
    bench::tag_frame(frames.discover(seen), 10, tagged.data());
    store_be32(&tagged[packet::tagged_dhcp_offset + dhcp4::giaddr.offset], 0x0a1e0009);
    ReceivedFrame frame(tagged);
    dhcp_server_packet_process(&frame.skp());
  }
}

void change_pool(Input& input) {
  const uint8_t how = input.byte();
  PoolPlan plan = pool_plans[how & 3];
  switch (how >> 2 & 7) {
    case 0: dhcp_server_del_pool_entry(plan.id); break;
    case 1: dhcp_server_del_pool_network(plan.id); break;
    case 2: set_pool(plan); break;
    case 3: dhcp_server_set_pool_lease(plan.id, input.byte()); break;
    default:
      plan.start_ip += input.byte() % 16u;
      plan.end_ip -= input.byte() % 16u;
      set_pool(plan);
  }
}

void change_option(Input& input) {
  std::array<uint8_t, DHCPS_OPTION_VALUE_SIZE> value{};
  const auto code = static_cast<uint8_t>(input.byte() % 254 + 1);  // pad and end would end the reply early
  const uint8_t length = input.byte();
  if ((length & 1) != 0) {
    dhcp_server_set_pool_option(1, code, length, value.data(), 2);
  } else {
    dhcp_server_del_pool_option(1, code);
  }
}

void change_host(Input& input) {
  const Mac mac = client(input.byte());
  const uint8_t place = input.byte();
  const uint32_t pool_id = pool_plans[place >> 5 & 3].id;
  if ((place & 128) != 0) {
    dhcp_server_del_static_host(pool_id, mac.data());
  } else {
    dhcp_server_set_static_host(pool_id, mac.data(), pool_address(place));
  }
}

void change_exclude(Input& input) {
  const uint32_t start = pool_address(input.byte());
  const uint8_t length = input.byte();
  if ((length & 128) != 0) {
    dhcp_server_del_exclude_ip(start, start + (length & 127));
  } else {
    dhcp_server_set_exclude_ip(start, start + length);
  }
}

void change_conflict(Input& input) {
  const uint8_t which = input.byte();
  if ((which & 128) != 0) {
    dhcp_server_clear_conflict(which == 255 ? 0 : pool_address(which));
  } else {
    dhcp_add_conflict_ip(pool_address(which));
  }
}

void change_device(Input& input) {
  const uint8_t how = input.byte();
  null_device.macs_known = (how & 128) == 0;
  null_device.another_ip = pool_address(how);
}

/// Time goes on, by seconds or by hours, and the server looks what has ended.
void tick(Input& input) {
  const uint8_t amount = input.byte();
  null_device.now += (amount & 128) != 0 ? (amount & 127u) * 3600 : amount;
  dhcps_binding_expire_timeout();
  dhcps_conflict_expire_timeout();
}

void play(uint8_t step, Input& input) {
  switch (step & 15) {
    case 6: {
      ReceivedFrame frame(input.bytes(input.word() % largest_frame));
      return receive(frame);
    }
    case 5: {
      ReceivedFrame frame(client_message(input));
      bend_pointers(frame.skp(), input.byte());
      return receive(frame);
    }
    case 7: return tick(input);
    case 8: return change_exclude(input);
    case 9: return change_host(input);
    case 10: return change_conflict(input);
    case 11: return change_pool(input);
    case 12: return change_option(input);
    case 13: return change_device(input);
    case 14: return crowd(input.byte());
    case 15: dhcp_server_clear_binding(pool_address(input.byte())); return;
    default: {
      ReceivedFrame frame(client_message(input));
      return receive(frame);
    }
  }
}

void open() {
  build_world();
  seen = 0;
}

void step(Input& input) {
  const uint8_t chosen = input.byte();
  play(chosen, input);
  // Not always: what selection remembers between messages must not depend on being asked.
  if ((chosen & 128) != 0) check_selection();
}

void close() {
  check_selection();
  init_DHCPS_cfg();
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  return run_door({open, step, check_records, close}, data, size);
}
