/// What the benchmarks of all services share. A service's program sets its service up in a class whose constructor
/// takes the number of bindings (or other records) and whose destructor gives everything back, makes its frames with
/// tagged_frame() (bench/received.h; bench/client_frames.h has a DHCPv4 client's), hands them over with take_turns()
/// and ends main() with run_benchmarks(). Everything runs against the device that does nothing, on one thread. Register
/// each benchmark with ->Arg(1) and ->Arg(most): its cost there must not be more than 1.5 times its cost at 1.
#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "bench/heap_blocks.h"
#include "bench/received.h"

namespace dhcp::bench {

/// Hands the frames to the service's entry in turn, each as often as the time allows; the benchmark fails when one of
/// them does not make the service send exactly one frame.
void take_turns(benchmark::State& state, int (*entry)(skpack*), std::vector<ReceivedFrame>& frames);

/// Blocks left when a service of `most` records has come and gone.
template <class Service>
int64_t blocks_left(uint32_t most) {
  { const Service first(1); }  // what is kept for the life of the process is taken now
  const int64_t before = heap_blocks.live;
  { const Service full(most); }
  return heap_blocks.live - before;
}

/// Runs what is registered and prints cost(most) / cost(1) for each; `blocks_left` counts the heap blocks that are left
/// then. The status for main(): 0 when all went well, 1 when a benchmark failed or grew too much or something is left,
/// 2 for words that it does not know.
int run_benchmarks(int argc, char** argv, uint32_t most, int64_t (*blocks_left)(uint32_t most));

}  // namespace dhcp::bench
