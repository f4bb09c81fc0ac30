/// Everything that whoever is asked for help will ask for, in one readout.
#include <ctime>

#include "platform/text.h"
#include "softswitch/cli/form.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

/// The words of a form that are needed; nothing when a value is among them.
std::optional<std::string> line_without_values(const Form& form) {
  std::string line;
  for (const FormWord& word : form.words) {
    if (word.may_end_before) break;
    if (word.place != nullptr) return {};
    line += (line.empty() ? "" : " ") + std::string(word.keyword);
  }
  return line;
}

void say_readout(Session& session, const std::string& line) {
  session.say("\n------------------ " + line + " ------------------\n\n");
  if (const Outcome bad = session.run_in_exec(line)) session.say(bad->reason + "\n");
}

/// Every readout of the command table that takes no value, in the table's order, and each port that is in use.
Outcome show(Session& session, const Args&) {
  const time_t now = time(nullptr);
  tm parts{};
  localtime_r(&now, &parts);
  char date[40];
  std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S %z", &parts);
  session.say(std::string(date) + "\n");
  for (const Form& form : forms_of(Mode::exec)) {
    const auto line = line_without_values(form);
    if (line && line->starts_with("show ") && form.command->run != show) say_readout(session, *line);
  }
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port)
    if (!switch_control().port(port).config.device.empty())
      say_readout(session, format("show interfaces gigabitethernet %u", port));
  return {};
}

constexpr Command rows[] = {
    {in(Mode::exec), "show tech-support", "All readouts at once, for whoever is asked for help", show,
     "show tech-support | include rogue"},
};

}  // namespace

std::span<const Command> tech_support() { return rows; }

}  // namespace dhcp::softswitch::cli
