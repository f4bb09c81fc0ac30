/// Readouts that the module writes itself, as text files.
#pragma once

#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

/// Gets the name of a temporary file by itself; gives less than 0 when it cannot write it.
using ReadoutWriter = int (*)(char* path, int a, int b);

/// Lets the module write its file, shows it and removes it.
Outcome show_file(Session& session, ReadoutWriter write, int a = 0);

/// A command that does just that.
template <ReadoutWriter write>
Outcome show_readout(Session& session, const Args&) {
  return show_file(session, write);
}

}  // namespace dhcp::softswitch::cli
