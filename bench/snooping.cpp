/// bench_snooping: what one frame costs IPv4 snooping, by the number of bindings it holds.
///
/// Clients take turns, so that each frame is for another binding. Beside the times it prints cost(249)/cost(1) and the
/// blocks taken per frame, and it ends with status 1 when a frame at 249 bindings costs more than 1.5 times that at 1,
/// or when a frame did not leave the switch or a heap block is left.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/snooping.h"

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

/// Snooping with `count` clients bound.
class Snooping {
 public:
  explicit Snooping(uint32_t count) {
    init_dhcp_snooping();
    set_dhcp_snoop_switch(1);
    set_dhcp_snoop_vlan(1, snooped);
    set_dhcp_snoop_trust(1, uplink);
    for (uint32_t index = 0; index < count; ++index) {
      ReceivedFrame ask = request(index), answer = ack(index);
      dhcp_packet_snooping_process(&ask.skp());
      dhcp_packet_snooping_process(&answer.skp());
    }
    DhcpSnoopBinding bound{};
    whole_ = dhcp_snoop_get_bindings(&bound, 1) == static_cast<int>(count) && bound.state == 1;
  }
  ~Snooping() { exit_dhcp_snooping(); }
  Snooping(const Snooping&) = delete;
  Snooping& operator=(const Snooping&) = delete;
  bool whole() const { return whole_; }

 private:
  bool whole_;
};

template <class Make>
void run(benchmark::State& state, Make make) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Snooping snooping(count);
  std::vector<ReceivedFrame> frames;
  for (uint32_t index = 0; index < count; ++index) frames.push_back(make(index));
  if (!snooping.whole()) return state.SkipWithError("a client was not bound");
  take_turns(state, dhcp_packet_snooping_process, frames);
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

BENCHMARK(bound_request)->Arg(1)->Arg(249);
BENCHMARK(server_ack)->Arg(1)->Arg(249);
BENCHMARK(foreign_vlan)->Arg(1)->Arg(249);
BENCHMARK(option82)->Arg(1)->Arg(249);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  return run_benchmarks(argc, argv, 249, blocks_left<Snooping>);
}
