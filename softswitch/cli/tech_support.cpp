/// Everything that whoever is asked for help will ask for, in one readout.
#include <ctime>

#include "softswitch/cli/form.h"
#include "softswitch/cli/match.h"
#include "softswitch/cli/readout.h"

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

/// A readout that is refused has no value.
void add_readout(Readout& out, const std::string& line) {
  const Match match = match_line(line, Mode::exec);
  Readout readout(out.reader());
  const Outcome refused = match.command->show(readout, match.args);
  out.say("\n------------------ " + line + " ------------------\n\n" +
          (refused ? refused->reason + "\n" : readout.text()));
  out.set(line, refused ? Json() : readout.json());
}

/// Every readout of the command table that takes no value, in the table's order, and each port that is in use.
Outcome show(Readout& out, const Args&) {
  const time_t now = time(nullptr);
  tm parts{};
  localtime_r(&now, &parts);
  char date[40];
  std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S %z", &parts);
  out.say(std::string(date) + "\n");
  for (const Form* form : forms_of(Mode::exec)) {
    const auto line = line_without_values(*form);
    if (line && form->command->show != nullptr && form->command->show != show) add_readout(out, *line);
  }
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port)
    if (!switch_control().port(port).config.device.empty())
      add_readout(out, format("show interfaces gigabitethernet %u", port));
  return {};
}

constexpr Command rows[] = {
    {in(Mode::exec), "show tech-support", "All readouts at once, for whoever is asked for help", show,
     "show tech-support | include rogue"},
};

}  // namespace

std::span<const Command> tech_support() { return rows; }

}  // namespace dhcp::softswitch::cli
