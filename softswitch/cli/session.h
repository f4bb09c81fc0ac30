/// One operator at the command line, or one file being read: where he stands and what he is told.
///
/// Every way in -- terminal, batch, script, configuration file -- goes through Session::run(). One command runs at a
/// time in the whole process (a lock inside run()), so handlers need none of their own.
#pragma once

#include "softswitch/cli/match.h"
#include "softswitch/cli/output.h"
#include "softswitch/cli/readout.h"

namespace dhcp::softswitch::cli {

struct Reply {
  static constexpr size_t no_column = static_cast<size_t>(-1);
  bool accepted = true;
  std::string text;    // what the command shows
  std::string reason;  // when refused
  size_t column = no_column;
};

class Session {
 public:
  explicit Session(Mode mode = Mode::exec) : mode_(mode) {}
  /// A configuration file being read: what only the state of the network forbids is skipped with a warning, so that the
  /// switch comes back whatever its bindings are.
  static Session for_file() {
    Session session(Mode::configure);
    session.from_file_ = true;
    return session;
  }

  Reply run(std::string_view line);
  std::vector<Choice> choices(std::string_view line) const;

  Mode mode() const { return mode_; }
  std::string mode_text() const;  // "config-if", "" in exec mode
  bool ended() const { return ended_; }
  uint32_t page_length() const { return page_length_; }
  void set_page_length(uint32_t lines) { page_length_ = lines; }
  /// To a program, each readout is given as JSON, as if "json" were typed behind it, and other words as a JSON string.
  void speak_to(Reader reader) { reader_ = reader; }

  // For handlers.
  bool from_file() const { return from_file_; }
  /// Whether a line of a file may still wait for an answer from the network: each might wait in vain.
  bool waits() const { return waits_; }
  void wait_no_more() { waits_ = false; }
  void say(std::string_view text) { output_ += reader_ == Reader::program ? Json(text).text() + "\n" : text; }
  void enter(Mode mode, uint32_t target = 0) { mode_ = mode, target_ = target; }
  uint32_t target() const { return target_; }  // port, VLAN or pool being configured
  void end_session() { ended_ = true; }
  /// As run(), for what is part of another command.
  Reply run_in_command(std::string_view line) { return run_locked(trim_end(line)); }
  /// Runs an exec line without leaving the mode. On a fault the offset counts from the beginning of `line`.
  Outcome run_in_exec(std::string_view line);

 private:
  struct Found;
  Found find(std::string_view command) const;
  Reply run_locked(std::string_view line);
  Outcome carry_out(const Match& match);

  Mode mode_;
  uint32_t target_ = 0;
  uint32_t page_length_ = 0;  // 0 = no paging
  bool ended_ = false;
  bool from_file_ = false;
  bool waits_ = true;
  Reader reader_ = Reader::person;
  std::string output_;
};

/// The line, and a caret under the column of the fault, for those who do not see the prompt it was typed at.
std::string mark(std::string_view line, const Reply& reply);

}  // namespace dhcp::softswitch::cli
