/// The log: which severities go where, and its last lines.
#include "softswitch/cli/session.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

template <LogPlace place>
Outcome set(Session&, const Args& args) {
  set_log_severity(place, static_cast<int>(args[0].number));
  return {};
}

template <LogPlace place>
Outcome initial(Session&, const Args&) {
  set_log_severity(place, initial_log_severity(place));
  return {};
}

Outcome show(Readout& out, const Args&) {
  constexpr const char *keys[] = {"console", "syslog", "buffered"},
                       *titles[] = {"Standard error", "Syslog", "Kept in memory"};
  Settings settings(16);
  for (const LogPlace place : log_places) {
    const auto n = static_cast<size_t>(place);
    settings.row(keys[n], titles[n], severity_name(log_severity(place)));
  }
  settings.say("\n");
  Json lines = Json::array();
  for (const std::string& line : log_lines()) {
    settings.say(line + "\n");
    lines.push_back(line);
  }
  settings.set("lines", lines);
  out.add(settings);
  return {};
}

Outcome clear(Session&, const Args&) {
  clear_log_lines();
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes configure = in(Mode::configure);

constexpr Command rows[] = {
    {exec, "show logging", "Where the log goes, and its last 512 lines", show, "show logging"},
    {exec, "clear logging", "Forget the lines kept in memory", clear, "clear logging"},
    {configure, "logging console SEVERITY", "Log lines up to this severity to standard error", set<LogPlace::console>,
     "logging console off", "logging console [SEVERITY]", initial<LogPlace::console>},
    {configure, "logging syslog SEVERITY", "Log lines up to this severity to syslog, facility daemon",
     set<LogPlace::syslog>, "logging syslog off", "logging syslog [SEVERITY]", initial<LogPlace::syslog>},
    {configure, "logging buffered SEVERITY", "Keep lines up to this severity in memory (informational)",
     set<LogPlace::buffer>, "logging buffered warnings", "logging buffered [SEVERITY]", initial<LogPlace::buffer>},
};

}  // namespace

std::span<const Command> log_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
