#include "softswitch/cli/session.h"

#include <mutex>

#include "softswitch/cli/pipe_filter.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

std::mutex& one_command() {
  static std::mutex lock;
  return lock;
}

bool is_submode(Mode mode) { return mode != Mode::exec && mode != Mode::configure; }

/// Neither a command of the exec mode nor one that merely moves about.
bool is_setting(const Command& command) {
  return (command.modes & in(Mode::exec)) == 0 && command.modes != in_configuration;
}

Reply refused(std::string reason, size_t column) { return {false, {}, std::move(reason), column}; }

/// Where the fault lies in the line that was matched.
size_t column_of(const Fault& fault, const Match& match) {
  if (fault.arg < 0 || static_cast<size_t>(fault.arg) >= match.arg_columns.size()) return Reply::no_column;
  return match.arg_columns[static_cast<size_t>(fault.arg)] + fault.offset;
}

/// Without "do" and its blanks, when the line has them and what follows is begun; nothing otherwise.
std::optional<std::string_view> behind_do(std::string_view line) {
  const auto words = split_words(line);
  if (words.empty() || !same_word(words[0].text, "do")) return {};
  const size_t rest = words[0].column + words[0].text.size();
  return rest < line.size() ? std::optional(line.substr(rest + 1)) : std::nullopt;
}

}  // namespace

struct Session::Found {
  Match match;
  Mode mode;  // in which it was found
};

/// A line that a sub-mode does not know is tried one level up, so that blocks need no "exit" between them. When
/// neither takes it, the fault that lies further to the right is the better explanation.
Session::Found Session::find(std::string_view command) const {
  Found here{match_line(command, mode_), mode_};
  if (here.match.command != nullptr || !is_submode(mode_)) return here;
  Found above{match_line(command, Mode::configure), Mode::configure};
  return above.match.command != nullptr || above.match.column > here.match.column ? above : here;
}

Reply Session::run(std::string_view line) {
  const std::lock_guard guard(one_command());
  return run_locked(trim_end(line));
}

Reply Session::run_locked(std::string_view line) {
  const size_t begin = line.find_first_not_of(" \t");
  if (begin == std::string_view::npos || line[begin] == '!') return {};
  const PipedLine piped = split_pipe(line);
  Filter filter;
  if (const auto bad = parse_filter(piped, filter)) return refused(bad->reason, bad->column);
  const Found found = find(piped.command);
  const Match& match = found.match;
  if (match.command == nullptr) return refused(match.reason, match.column);
  if (found.mode != mode_) enter(found.mode);
  const bool for_program = match.command->show != nullptr && (match.json || reader_ == Reader::program);
  if (for_program && piped.piped) return refused("JSON has no lines to filter", piped.filter_column);
  output_.clear();
  if (const auto fault = carry_out(match)) return refused(fault->reason, column_of(*fault, match));
  if (!from_file_ && is_setting(*match.command)) {
    const std::string_view words = line.substr(begin);
    log_line(5, "configured: %.*s", static_cast<int>(words.size()), words.data());
  }
  return {true, apply_filter(filter, output_), {}, Reply::no_column};
}

Outcome Session::carry_out(const Match& match) {
  if (match.command->show == nullptr) return (match.undo ? match.command->undo : match.command->run)(*this, match.args);
  Readout readout(match.json ? Reader::program : reader_);
  if (auto fault = match.command->show(readout, match.args)) return fault;
  output_ = readout.result();
  return {};
}

Outcome Session::run_in_exec(std::string_view line) {
  Session inner(Mode::exec);
  inner.speak_to(reader_);
  Reply reply = inner.run_locked(line);
  if (!reply.accepted) {
    const bool placed = reply.column != Reply::no_column;
    return Fault{reply.reason, placed ? 0 : -1, placed ? reply.column : 0};
  }
  output_ += reply.text;
  return {};
}

std::vector<Choice> Session::choices(std::string_view line) const {
  const auto inner = mode_ == Mode::exec ? std::nullopt : behind_do(line);
  const std::string_view command = inner ? *inner : line;
  const PipedLine piped = split_pipe(command);
  if (piped.piped) return filter_choices(command.substr(piped.filter_column));
  auto list = cli::choices(command, inner ? Mode::exec : mode_);
  if (list.empty() && !inner && is_submode(mode_)) list = cli::choices(command, Mode::configure);
  return list;
}

std::string Session::mode_text() const {
  switch (mode_) {
    case Mode::exec: return {};
    case Mode::configure: return "config";
    case Mode::port:
    case Mode::vlan_interface: return "config-if";
    case Mode::pool: return "config-dhcp";
    case Mode::pool6: return "config-dhcpv6";
  }
  return {};
}

std::string mark(std::string_view line, const Reply& reply) {
  std::string text = std::string(trim_end(line)) + "\n";
  if (reply.column == Reply::no_column) return text;
  for (size_t i = 0; i < reply.column; ++i) text += i < line.size() && line[i] == '\t' ? '\t' : ' ';
  return text + "^\n";
}

}  // namespace dhcp::softswitch::cli
