/// bench_snooping: what one frame costs IPv4 and DHCPv6 snooping, by the number of bindings they hold.
///
/// Clients take turns, so that each frame is for another binding. Beside the times it prints cost(249)/cost(1) and the
/// blocks taken per frame, and it ends with status 1 when a frame at 249 bindings costs more than 1.5 times that at 1,
/// or when a frame did not leave the switch or a heap block is left.
#include <benchmark/benchmark.h>

#include <cstring>
#include <utility>
#include <vector>

#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "packet/datagram6.h"
#include "packet/options6.h"

namespace dhcp::bench {

namespace {

constexpr uint32_t client_port = 1, uplink = 24, first_ip = 0x0a0a000a;
constexpr uint16_t snooped = NullDevice::vlans[0], other = NullDevice::vlans[1];
constexpr size_t message_at = packet::tagged_dhcp_offset;

ReceivedFrame request(uint32_t index, uint16_t vlan = snooped) {
  ClientFrames frames(client_mac(index));
  return tagged_frame(frames.request(index, {0, 0, first_ip + index, NullDevice::vlan_ips[0], {}}), vlan, client_port);
}

/// The client's REQUEST turned into the server's answer: type, yiaddr and, in the place of the requested address, a
/// lease.
ReceivedFrame ack(uint32_t index) {
  ReceivedFrame frame = request(index);
  frame.skp().in_intf = uplink;
  uint8_t* message = frame.bytes().data() + message_at;
  message[packet::dhcp4::op.offset] = packet::dhcp4::boot_reply;
  packet::store_be32(message + packet::dhcp4::yiaddr.offset, first_ip + index);
  uint8_t* option = message + packet::dhcp4::fixed_size;
  const uint8_t options[] = {53, 1, 5, 51, 4, 0, 0, 0x0e, 0x10, 255};
  memcpy(option, options, sizeof options);
  return frame;
}

/// The IPv6 client's address is its number.
base::Ip6 ip6_of(uint32_t index) {
  base::Ip6 ip{{0x20, 0x01, 0x0d, 0xb8}};
  packet::store_be32(&ip.bytes[12], first_ip + index);
  return ip;
}

/// A DHCPv6 message with an IA_NA; a server's goes to the client.
ReceivedFrame frame6(packet::MessageType6 type, uint32_t index, uint16_t vlan, bool from_server) {
  std::vector<uint8_t> buffer(packet::datagram6_room);
  const auto message = packet::datagram6_message(buffer);
  message[0] = static_cast<uint8_t>(type);
  packet::OptionWriter6 writer(message);
  writer.add(packet::option6::client_id, packet::duid_ll(client_mac(index)));
  packet::add_ia6(writer, packet::option6::ia_na, index, 1800, 2880, {ip6_of(index), 3600, 3600});
  packet::Datagram6 datagram{.to_mac = packet::all_dhcp6_servers_mac,
                             .from_mac = client_mac(index),
                             .vlan = vlan,
                             .from = ip6_of(index),
                             .to = packet::all_dhcp6_servers,
                             .from_port = packet::udp::port_client6,
                             .to_port = packet::udp::port_server6};
  if (from_server) {
    std::swap(datagram.to_mac, datagram.from_mac);
    std::swap(datagram.from_port, datagram.to_port);
  }
  return ReceivedFrame(packet::finish_datagram6(buffer, writer.message_size(), datagram),
                       from_server ? uplink : client_port);
}

ReceivedFrame request6(uint32_t index, uint16_t vlan = snooped) {
  return frame6(packet::MessageType6::request, index, vlan, false);
}
ReceivedFrame reply6(uint32_t index) { return frame6(packet::MessageType6::reply, index, snooped, true); }

/// Both snoopings with `count` clients bound.
class Snooping {
 public:
  explicit Snooping(uint32_t count) {
    init_dhcp_snooping();
    set_dhcp_snoop_switch(1);
    set_dhcp_snoop_vlan(1, snooped);
    set_dhcp_snoop_trust(1, uplink);
    init_dhcp6_snooping();
    set_dhcp6_snoop_switch(1);
    set_dhcp6_snoop_vlan(1, snooped);
    set_dhcp6_snoop_trust(1, uplink);
    for (uint32_t index = 0; index < count; ++index) {
      ReceivedFrame ask = request(index), answer = ack(index);
      dhcp_packet_snooping_process(&ask.skp());
      dhcp_packet_snooping_process(&answer.skp());
      ReceivedFrame ask6 = request6(index), answer6 = reply6(index);
      dhcp6_packet_snooping_process(&ask6.skp());
      dhcp6_packet_snooping_process(&answer6.skp());
    }
    DhcpSnoopBinding bound{};
    Dhcp6SnoopBinding bound6{};
    whole_ = dhcp_snoop_get_bindings(&bound, 1) == static_cast<int>(count) && bound.state == 1 &&
             dhcp6_snoop_get_bindings(&bound6, 1) == static_cast<int>(count) && bound6.state == 1;
  }
  ~Snooping() {
    exit_dhcp_snooping();
    exit_dhcp6_snooping();
  }
  Snooping(const Snooping&) = delete;
  Snooping& operator=(const Snooping&) = delete;
  bool whole() const { return whole_; }

 private:
  bool whole_;
};

template <class Make>
void run(benchmark::State& state, Make make, int (*entry)(skpack*) = dhcp_packet_snooping_process) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Snooping snooping(count);
  std::vector<ReceivedFrame> frames;
  for (uint32_t index = 0; index < count; ++index) frames.push_back(make(index));
  if (!snooping.whole()) return state.SkipWithError("a client was not bound");
  take_turns(state, entry, frames);
}

void bound_request(benchmark::State& state) {
  run(state, [](uint32_t index) { return request(index); });
}

void server_ack(benchmark::State& state) {
  run(state, [](uint32_t index) { return ack(index); });
}

/// A bound client's frame from a VLAN that is not snooped.
void foreign_vlan(benchmark::State& state) {
  run(state, [](uint32_t index) { return request(index, other); });
}

void option82(benchmark::State& state) {
  run(state, [](uint32_t index) {
    set_dhcp_snoop_option82_switch(1);
    return request(index);
  });
}

void bound_request6(benchmark::State& state) {
  run(
      state, [](uint32_t index) { return request6(index); }, dhcp6_packet_snooping_process);
}

void server_reply6(benchmark::State& state) { run(state, reply6, dhcp6_packet_snooping_process); }

void foreign_vlan6(benchmark::State& state) {
  run(
      state, [](uint32_t index) { return request6(index, other); }, dhcp6_packet_snooping_process);
}

BENCHMARK(bound_request)->Arg(1)->Arg(249);
BENCHMARK(server_ack)->Arg(1)->Arg(249);
BENCHMARK(foreign_vlan)->Arg(1)->Arg(249);
BENCHMARK(option82)->Arg(1)->Arg(249);
BENCHMARK(bound_request6)->Arg(1)->Arg(249);
BENCHMARK(server_reply6)->Arg(1)->Arg(249);
BENCHMARK(foreign_vlan6)->Arg(1)->Arg(249);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  return run_benchmarks(argc, argv, 249, blocks_left<Snooping>);
}
