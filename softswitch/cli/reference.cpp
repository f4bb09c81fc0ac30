#include "softswitch/cli/reference.h"

#include <algorithm>

#include "softswitch/cli/form.h"

namespace dhcp::softswitch::cli {
namespace {

struct ModeText {
  Mode mode;
  const char* title;
  const char* about;
  const char* enter;  // the line that leads here from the configuration mode
};
constexpr ModeText mode_texts[] = {
    {Mode::configure, "Configuration mode", "Entered by `configure terminal`.", ""},
    {Mode::port, "Port mode", "Entered by `interface gigabitethernet PORT`.", "interface gigabitethernet 1"},
    {Mode::vlan_interface, "VLAN interface mode", "Entered by `interface vlan VLAN`.", "interface vlan 10"},
    {Mode::pool, "Pool mode", "Entered by `ip dhcp pool POOL`.", "ip dhcp pool 1"},
    {Mode::pool6, "DHCPv6 pool mode", "Entered by `ipv6 dhcp pool POOL`.", "ipv6 dhcp pool 1"},
    {Mode::exec, "Exec mode", "Where a session begins.", ""},
};

constexpr char introduction[] =
    "# Commands\n\n"
    "Made from the command table by `softswitch --print-commands`; not edited by hand.\n\n"
    "Words may be cut short as long as they stay unique; letter case of keywords does not matter. `?` shows what may\n"
    "come next, Tab completes a word, `!` begins a comment. In a form, words in capitals stand for values, `[...]` "
    "may\n"
    "be left out, and a value with `...` may repeat. A text value takes the rest of the line, blanks included. A line\n"
    "that a port, VLAN interface or pool does not know is tried in configuration mode, so blocks need no `exit`\n"
    "between them. A refused line changes nothing and says why.\n\n"
    "The output of a show command can be filtered: `| include TEXT`, `| exclude TEXT`, `| begin TEXT`,\n"
    "`| count [TEXT]`; TEXT is plain text. With `json` as its last word a show command gives one line of JSON "
    "instead,\n"
    "which is not filtered ([operations.md](operations.md)).\n\n";

/// In each mode the commands of the mode alone; `exit`, `end` and `do` are told once, in the introduction's table.
bool in_every_mode(const Command& command) { return command.modes == everywhere || command.modes == in_configuration; }

std::string table_of(Mode mode) {
  std::string text = "| command | what it does | taken back by |\n|---|---|---|\n";
  for (const Command& command : commands()) {
    if ((command.modes & in(mode)) == 0 || (in_every_mode(command) && mode != Mode::configure)) continue;
    const std::string undo = command.no_form.empty() ? "" : "`no " + std::string(command.no_form) + "`";
    text += "| `" + std::string(command.form) + "` | " + std::string(command.help) + " | " + undo + " |\n";
  }
  return text + "\n";
}

/// The first words of the example: as many as the `no` form cannot do without. All of them when it has the same words.
std::string undo_example(const Command& command) {
  if (command.no_form == command.form) return "no " + std::string(command.example);
  const std::string_view form = command.no_form;
  const size_t needed = split_words(form.substr(0, form.find('['))).size();
  const auto words = split_words(command.example);
  const size_t length = words[needed - 1].column + words[needed - 1].text.size();
  return "no " + std::string(command.example.substr(0, length));
}

/// Values first, then all of them taken back in the other order.
std::string round_of(Mode mode, int round) {
  std::string text;
  std::vector<std::string> undone;
  for (const Command& command : commands()) {
    if ((command.modes & in(mode)) == 0 || command.round != round) continue;
    if (!command.example.empty()) text += std::string(command.example) + "\n";
    if (!command.no_form.empty()) undone.push_back(undo_example(command));
  }
  for (auto line = undone.rbegin(); line != undone.rend(); ++line) text += *line + "\n";
  return text;
}

std::string values_table() {
  std::string text = "## Values\n\n| name | shape | what it is |\n|---|---|---|\n";
  for (const Placeholder& place : all_placeholders()) {
    const bool by_hardware = place.kind == Kind::port;
    text += "| " + std::string(place.name) + " | `" + (by_hardware ? "<1-...>" : shape_of(place)) + "` | " +
            std::string(place.help) + " |\n";
  }
  return text;
}

}  // namespace

std::string command_reference() {
  std::string text = introduction;
  for (const ModeText& mode : mode_texts) {
    text += std::string("## ") + mode.title + "\n\n" + mode.about + "\n\n" + table_of(mode.mode) + "```\n";
    if (mode.mode != Mode::exec) text += "configure terminal\n";
    if (*mode.enter != '\0') text += std::string(mode.enter) + "\n";
    for (int round = 0; round < rounds; ++round) text += round_of(mode.mode, round);
    text += mode.mode == Mode::exec ? "" : "end\n";
    text += "```\n\n";
  }
  return text + values_table();
}

}  // namespace dhcp::softswitch::cli
