/// The command table: the one source of what can be typed, of the `no` forms, of `?`, and of the reference.
///
/// A row's form is a line of keywords and placeholders (words.h). "[...]" encloses what may be left out at the end and
/// "..." after a placeholder lets it repeat. Rows are constant; nothing here needs a lock.
#pragma once

#include <cstdarg>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "softswitch/cli/words.h"
#include "softswitch/control.h"

namespace dhcp::softswitch::cli {

enum class Mode : uint8_t { exec, configure, port, vlan_interface, pool, pool6 };
constexpr Mode all_modes[] = {Mode::exec, Mode::configure, Mode::port, Mode::vlan_interface, Mode::pool, Mode::pool6};

/// A set of modes.
using Modes = unsigned;
constexpr Modes in(Mode mode) { return 1U << static_cast<unsigned>(mode); }
constexpr Modes in_configuration =
    in(Mode::configure) | in(Mode::port) | in(Mode::vlan_interface) | in(Mode::pool) | in(Mode::pool6);
constexpr Modes everywhere = in(Mode::exec) | in_configuration;

/// Why a line was refused. `arg` is the value to put the caret under, -1 = none in particular; `offset` counts from
/// the beginning of that value.
struct Fault {
  std::string reason;
  int arg = -1;
  size_t offset = 0;
};
using Outcome = std::optional<Fault>;  // nothing = done

inline Outcome outcome(const Refusal& refusal) {
  if (!refusal) return {};
  return Fault{*refusal};
}

class Session;
class Readout;
using Args = std::vector<Value>;
using Run = Outcome (*)(Session& session, const Args& args);
using Show = Outcome (*)(Readout& out, const Args& args);

/// Ends the program: a "show" row was given a Run, so it has no JSON form.
[[noreturn]] void show_without_readout();

struct Command {
  Modes modes = 0;
  std::string_view form;
  std::string_view help;
  Run run = nullptr;
  Show show = nullptr;       // instead of `run`: a readout, whose form takes "json" as its last word
  std::string_view example;  // fits the examples before it; "" = it would leave the mode
  std::string_view no_form;  // without its leading "no"; "" = there is none
  Run undo = nullptr;
  int round = 0;  // of examples; those of one round fit together, and are taken back before the next

  constexpr Command(Modes in_modes, std::string_view words, std::string_view about, Run does, std::string_view typed_as,
                    std::string_view no_words = {}, Run undoes = nullptr, int of_round = 0)
      : modes(in_modes),
        form(words),
        help(about),
        run(does),
        example(typed_as),
        no_form(no_words),
        undo(undoes),
        round(of_round) {
    if (words.starts_with("show ")) show_without_readout();  // does not compile in a constant table
  }
  constexpr Command(Modes in_modes, std::string_view words, std::string_view about, Show shows,
                    std::string_view typed_as)
      : modes(in_modes), form(words), help(about), show(shows), example(typed_as) {}
};
constexpr int rounds = 2;

/// The modes that a line of the configuration mode opens, and the form of that line.
struct Block {
  Mode mode;
  std::string_view opener;
};
constexpr Block blocks[] = {{Mode::port, "interface gigabitethernet PORT"},
                            {Mode::vlan_interface, "interface vlan VLAN"},
                            {Mode::pool, "ip dhcp pool POOL"},
                            {Mode::pool6, "ipv6 dhcp pool POOL"}};

/// All rows in the order of the reference.
std::span<const Command> commands();

/// What a keyword with several continuations is about ("show ip dhcp"), or "".
std::string_view keyword_help(std::string_view path);

// The tables that commands() joins.
std::span<const Command> session_commands();
std::span<const Command> show_commands();
std::span<const Command> config_readouts();
std::span<const Command> capture_commands();
std::span<const Command> log_commands();
std::span<const Command> counter_commands();
std::span<const Command> debug_commands();
std::span<const Command> metrics_commands();
std::span<const Command> tech_support();
std::span<const Command> server_readouts();
std::span<const Command> switch_commands();
std::span<const Command> server_commands();
std::span<const Command> pool_commands();
std::span<const Command> snooping_readouts();
std::span<const Command> snooping_settings();
std::span<const Command> snooping_clears();
std::span<const Command> snooping_commands();
std::span<const Command> snooping4_only();
std::span<const Command> snooping6_readouts();
std::span<const Command> snooping6_clears();
std::span<const Command> snooping6_commands();
std::span<const Command> snooping6_only();
std::span<const Command> guard_commands();
std::span<const Command> relay_readouts();
std::span<const Command> relay_commands();
std::span<const Command> relay6_commands();
std::span<const Command> server6_readouts();
std::span<const Command> server6_commands();
std::span<const Command> pool6_commands();
std::span<const Command> client6_commands();

}  // namespace dhcp::softswitch::cli
