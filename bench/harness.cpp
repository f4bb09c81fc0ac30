#include "bench/harness.h"

#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>

#include "bench/null_device.h"

namespace dhcp::bench {

namespace {

constexpr double allowed_growth = 1.5;

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
  bool holds(uint32_t most) const {
    bool good = !failed_;
    for (const auto& [full_name, one] : times_) {
      const std::string name = full_name.substr(0, full_name.rfind('/'));
      const auto found = times_.find(name + '/' + std::to_string(most));
      if (full_name != name + "/1" || found == times_.end()) continue;
      const double growth = found->second / one;
      printf("%s: cost at %u bindings / cost at 1 = %.2f\n", name.c_str(), most, growth);
      good = good && growth <= allowed_growth;
    }
    return good;
  }

 private:
  std::map<std::string, double> times_;
  bool failed_ = false;
};

}  // namespace

void take_turns(benchmark::State& state, int (*entry)(skpack*), std::vector<ReceivedFrame>& frames) {
  const uint64_t sent_before = null_device.frames_sent, blocks_before = heap_blocks.taken;
  size_t turn = 0;
  uint64_t handled = 0;
  for (auto _ : state) {
    entry(&frames[turn].skp());
    turn = turn + 1 == frames.size() ? 0 : turn + 1;
    ++handled;
  }
  if (null_device.frames_sent - sent_before != handled) state.SkipWithError("a frame was not answered or sent on");
  state.counters["blocks"] = static_cast<double>(heap_blocks.taken - blocks_before) / static_cast<double>(handled);
  state.counters["frames/s"] = benchmark::Counter(static_cast<double>(handled), benchmark::Counter::kIsRate);
}

int run_benchmarks(int argc, char** argv, uint32_t most, int64_t (*blocks_left)(uint32_t most)) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  use_null_device();
  Comparison comparison;
  benchmark::RunSpecifiedBenchmarks(&comparison);
  const int64_t left = blocks_left(most);
  printf("left behind: %lld heap blocks\n", static_cast<long long>(left));
  return comparison.holds(most) && left == 0 ? 0 : 1;
}

}  // namespace dhcp::bench
