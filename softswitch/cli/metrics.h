/// What the switch tells a monitoring system: families of counters and gauges as values, and the text that Prometheus
/// scrapes (the text exposition format, version 0.0.4).
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dhcp::softswitch::cli {

/// All samples of one name. A counter's name ends in "_total".
struct Metric {
  using Labels = std::vector<std::pair<std::string_view, std::string>>;
  struct Sample {
    Labels labels;
    double value;
  };
  enum class Kind { counter, gauge };

  std::string_view name, help;
  Kind kind;
  std::vector<Sample> samples = {};

  template <class Number>
  void add(Labels labels, Number value) {
    samples.push_back({std::move(labels), static_cast<double>(value)});
  }
};

/// Everything, as it is now; the families are always the same.
std::vector<Metric> all_metrics();
std::string exposition(const std::vector<Metric>& metrics);

// What all_metrics() joins.
void add_module_metrics(std::vector<Metric>& metrics);
void add_switch_metrics(std::vector<Metric>& metrics);

}  // namespace dhcp::softswitch::cli
