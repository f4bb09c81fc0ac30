#include "softswitch/cli/metrics.h"

#include <cmath>

#include "softswitch/cli/readout.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

/// In a help text only what would end the line, in a label's value the quotation mark, too.
std::string escaped(std::string_view text, bool in_quotes) {
  std::string out;
  for (const char c : text) {
    if (c == '\\' || (c == '"' && in_quotes)) {
      out += {'\\', c};
    } else if (c == '\n') {
      out += "\\n";
    } else {
      out += c >= ' ' && c <= '~' ? c : '?';  // names of devices may hold any bytes, the format wants UTF-8
    }
  }
  return out;
}

std::string value_text(double value) { return format(value == std::floor(value) ? "%.0f" : "%.3f", value); }

std::string sample_text(std::string_view name, const Metric::Sample& sample) {
  std::string line(name);
  for (const auto& [label, value] : sample.labels) {
    line += line.size() == name.size() ? "{" : ",";
    line += std::string(label) + "=\"" + escaped(value, true) + "\"";
  }
  if (!sample.labels.empty()) line += "}";
  return line + " " + value_text(sample.value) + "\n";
}

Json number(double value) { return value == std::floor(value) ? Json(static_cast<int64_t>(value)) : Json(value); }

constexpr const char* name_of(Metric::Kind kind) { return kind == Metric::Kind::counter ? "counter" : "gauge"; }

Json json_of(const Metric& metric) {
  Json samples = Json::array();
  for (const auto& [labels, value] : metric.samples) {
    Json of_labels = Json::object();
    for (const auto& [label, text] : labels) of_labels.set(label, text);
    samples.push_back(Json::object({{"labels", of_labels}, {"value", number(value)}}));
  }
  return Json::object(
      {{"name", metric.name}, {"type", name_of(metric.kind)}, {"help", metric.help}, {"samples", samples}});
}

Outcome show(Readout& out, const Args&) {
  const auto metrics = all_metrics();
  out.say(exposition(metrics));
  Json document = Json::array();
  for (const Metric& metric : metrics) document.push_back(json_of(metric));
  out.set(std::move(document));
  return {};
}

constexpr Command rows[] = {
    {in(Mode::exec), "show metrics", "Counters and states as Prometheus scrapes them", show,
     "show metrics | include dhcp_frames_total"},
};

}  // namespace

std::vector<Metric> all_metrics() {
  std::vector<Metric> metrics;
  add_module_metrics(metrics);
  add_switch_metrics(metrics);
  return metrics;
}

std::string exposition(const std::vector<Metric>& metrics) {
  std::string text;
  for (const Metric& metric : metrics) {
    const std::string name(metric.name);
    text += "# HELP " + name + " " + escaped(metric.help, false) + "\n";
    text += "# TYPE " + name + " " + name_of(metric.kind) + "\n";
    for (const Metric::Sample& sample : metric.samples) text += sample_text(name, sample);
  }
  return text;
}

std::span<const Command> metrics_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
