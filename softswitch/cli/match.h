/// Matches typed words against the command table: unique abbreviations, faults with a column, help and completion.
#pragma once

#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

struct Match {
  const Command* command = nullptr;  // null = refused
  bool undo = false;                 // the `no` form was typed
  bool json = false;                 // a readout for programs
  Args args;
  std::vector<size_t> arg_columns;
  // When refused:
  std::string reason;
  size_t column = 0;  // where the caret goes
};

/// `line` is one command, without a pipe. It must not be blank.
Match match_line(std::string_view line, Mode mode);

/// One thing that may come next.
struct Choice {
  std::string word;  // keyword, shape of a value, or "<cr>"
  std::string help;
  bool keyword = false;
};

/// What may follow or complete `line`: continuations of its last word, or the next words when it ends in a blank.
std::vector<Choice> choices(std::string_view line, Mode mode);

}  // namespace dhcp::softswitch::cli
