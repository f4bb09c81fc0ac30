/// bench_snooping: what one frame costs IPv4 snooping, by the number of bindings it holds.
///
/// Clients take turns, so that each frame is for another binding. Beside the times it prints cost(249)/cost(1) and the
/// blocks taken per frame, and it ends with status 1 when a frame at 249 bindings costs more than 1.5 times that at 1,
/// or when a frame did not leave the switch or a heap block is left.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/client_frames.h"
#include "bench/heap_blocks.h"
#include "bench/null_device.h"
#include "bench/received.h"
#include "dhcp/snooping.h"

namespace dhcp::bench {

namespace {

constexpr uint32_t client_port = 1, uplink = 24, first_ip = 0x0a0a000a;
constexpr uint16_t snooped = NullDevice::vlans[0], other = NullDevice::vlans[1];
constexpr double allowed_growth = 1.5;
constexpr size_t message_at = packet::tagged_dhcp_offset;

ReceivedFrame tagged(std::span<const uint8_t> untagged, uint16_t vlan, uint32_t port) {
  std::array<uint8_t, client_frame_size + tag_size> frame{};
  ReceivedFrame received({frame.data(), tag_frame(untagged, vlan, frame.data())});
  received.skp().in_intf = port;
  return received;
}

ReceivedFrame request(uint32_t index, uint16_t vlan = snooped) {
  ClientFrames frames(client_mac(index));
  return tagged(frames.request(index, {0, 0, first_ip + index, NullDevice::vlan_ips[0], {}}), vlan, client_port);
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

/// Hands the frames over in turn; each leaves the switch or the benchmark fails.
void take_turns(benchmark::State& state, const Snooping& snooping, std::vector<ReceivedFrame>& frames) {
  if (!snooping.whole()) state.SkipWithError("a client was not bound");
  const uint64_t sent_before = null_device.frames_sent, blocks_before = heap_blocks.taken;
  size_t turn = 0;
  uint64_t handled = 0;
  for (auto _ : state) {
    dhcp_packet_snooping_process(&frames[turn].skp());
    turn = turn + 1 == frames.size() ? 0 : turn + 1;
    ++handled;
  }
  if (null_device.frames_sent - sent_before != handled) state.SkipWithError("a frame was not sent");
  state.counters["blocks"] = static_cast<double>(heap_blocks.taken - blocks_before) / static_cast<double>(handled);
  state.counters["frames/s"] = benchmark::Counter(static_cast<double>(handled), benchmark::Counter::kIsRate);
}

template <class Make>
void run(benchmark::State& state, Make make) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Snooping snooping(count);
  std::vector<ReceivedFrame> frames;
  for (uint32_t index = 0; index < count; ++index) frames.push_back(make(index));
  take_turns(state, snooping, frames);
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

/// Prints as usual and remembers the times, to compare the largest table with the smallest.
class Comparison : public benchmark::ConsoleReporter {
 public:
  Comparison() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_Defaults : OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      failed_ = failed_ || run.error_occurred;
      times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
  }

  /// False when a benchmark failed or grew too much with the table.
  bool holds() const {
    bool good = !failed_;
    for (const char* name : {"bound_request", "server_ack", "foreign_vlan", "option82"}) {
      const auto one = times_.find(std::string(name) + "/1"), most = times_.find(std::string(name) + "/249");
      if (one == times_.end() || most == times_.end()) continue;
      const double growth = most->second / one->second;
      printf("%s: cost at 249 bindings / cost at 1 = %.2f\n", name, growth);
      good = good && growth <= allowed_growth;
    }
    return good;
  }

 private:
  std::map<std::string, double> times_;
  bool failed_ = false;
};

/// The blocks that a full table takes are all given back with it.
bool heap_is_even() {
  { const Snooping first(1); }  // what is kept for the life of the process is taken now
  const int64_t before = heap_blocks.live;
  { const Snooping full(249); }
  const auto left = static_cast<long long>(heap_blocks.live - before);
  printf("left behind: %lld heap blocks\n", left);
  return left == 0;
}

BENCHMARK(bound_request)->Arg(1)->Arg(249);
BENCHMARK(server_ack)->Arg(1)->Arg(249);
BENCHMARK(foreign_vlan)->Arg(1)->Arg(249);
BENCHMARK(option82)->Arg(1)->Arg(249);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  use_null_device();
  Comparison comparison;
  benchmark::RunSpecifiedBenchmarks(&comparison);
  const bool even = heap_is_even();
  return comparison.holds() && even ? 0 : 1;
}
