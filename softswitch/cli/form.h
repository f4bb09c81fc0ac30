/// Command forms, taken apart once: the words of a row's form and of its `no` form.
#pragma once

#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

struct FormWord {
  std::string_view keyword;            // when it is one
  const Placeholder* place = nullptr;  // otherwise
  bool may_end_before = false;         // what follows may be left out
  bool repeats = false;
};

struct Form {
  const Command* command = nullptr;
  bool undo = false;
  std::vector<FormWord> words;  // a readout's last one is "json", which may be left out
};

/// The forms that a mode takes.
std::vector<const Form*> forms_of(Mode mode);

}  // namespace dhcp::softswitch::cli
