/// bench_relay: what one frame costs the IPv4 relay, by the number of clients it remembers.
///
/// Clients take turns. Requests go to one helper, with and without option 82, and to ten; replies go back to their
/// clients. It ends with status 1 when a frame did not leave the switch or a heap block was left.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/relay.h"

namespace dhcp::bench {

namespace {

constexpr uint32_t client_port = 1, uplink = 24, helper_ip = 0x0a140005;
constexpr uint16_t client_vlan = NullDevice::vlans[0], server_vlan = NullDevice::vlans[1];
constexpr int most_clients = DHCPR_TRANSACTIONS;

ReceivedFrame request(uint32_t index) {
  ClientFrames frames(client_mac(index));
  return tagged_frame(frames.discover(index), client_vlan, client_port);
}

/// The client's message turned into the helper's OFFER.
ReceivedFrame reply(uint32_t index) {
  ClientFrames frames(client_mac(index));
  ReceivedFrame frame = tagged_frame(frames.discover(index), server_vlan, uplink);
  uint8_t* message = frame.bytes().data() + packet::tagged_dhcp_offset;
  message[packet::dhcp4::op.offset] = packet::dhcp4::boot_reply;
  packet::store_be32(message + packet::dhcp4::yiaddr.offset, NullDevice::vlan_ips[0] + index);
  const uint8_t options[] = {53, 1, 2, 54, 4, 0x0a, 0x14, 0, 5, 255};
  memcpy(message + packet::dhcp4::fixed_size, options, sizeof options);
  return frame;
}

/// The relay in management-VLAN mode, with `count` clients remembered.
class Relay {
 public:
  explicit Relay(uint32_t count, uint32_t helpers = 1) {
    static uint8_t buffer[DHCPR_BUFFER_SIZE];
    dhcpr_cfg.send_buf = buffer;
    init_DHCPR_cfg();
    DHCPR_start(DHCPR_ON_MANAGEMENT_VLAN);
    int error = 0;
    for (uint32_t n = 0; n < helpers; ++n) {
      DHCPR_find_dhcp_serverip(helper_ip + n, 1, client_mac(n).bytes.data(), server_vlan, &error);
    }
    for (uint32_t index = 0; index < count; ++index) {
      add_valid_table(client_mac(index).bytes.data(), 0, client_port, client_vlan, 0);
    }
  }
  ~Relay() {
    DHCPR_stop();
    init_DHCPR_cfg();  // frees the helpers
    exit_DHCPR_cfg();
    dhcpr_cfg.send_buf = nullptr;
  }
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
};

template <class Make>
std::vector<ReceivedFrame> frames_of(const benchmark::State& state, Make make) {
  std::vector<ReceivedFrame> frames;
  for (uint32_t index = 0; index < static_cast<uint32_t>(state.range(0)); ++index) frames.push_back(make(index));
  return frames;
}

template <class Make>
void run(benchmark::State& state, int option82, Make make) {
  const Relay relay(static_cast<uint32_t>(state.range(0)));
  DHCPR_set_dhcp_option82_switch(option82);
  auto frames = frames_of(state, make);
  take_turns(state, dhcpr_packet_process, frames);
}

void plain_request(benchmark::State& state) { run(state, 0, request); }
void option82_request(benchmark::State& state) { run(state, 1, request); }
void helpers_reply(benchmark::State& state) { run(state, 1, reply); }

/// One request, ten frames.
void ten_helpers(benchmark::State& state) {
  constexpr uint32_t helpers = DHCPR_MAX_HELPERS;
  const Relay relay(static_cast<uint32_t>(state.range(0)), helpers);
  auto frames = frames_of(state, request);
  const uint64_t before = null_device.frames_sent;
  uint64_t handled = 0;
  for (auto _ : state) dhcpr_packet_process(&frames[handled++ % frames.size()].skp());
  if (null_device.frames_sent - before != handled * helpers) state.SkipWithError("a frame was not sent");
}

BENCHMARK(plain_request)->Arg(1)->Arg(most_clients);
BENCHMARK(option82_request)->Arg(1)->Arg(most_clients);
BENCHMARK(helpers_reply)->Arg(1)->Arg(most_clients);
BENCHMARK(ten_helpers)->Arg(1)->Arg(most_clients);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  return run_benchmarks(argc, argv, most_clients, blocks_left<Relay>);
}
