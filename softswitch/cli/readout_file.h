/// Readouts that the module writes itself, as text files. What programs get in their place comes from its records.
#pragma once

#include "softswitch/cli/readout.h"
#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

/// Gets the name of a temporary file by itself; gives less than 0 when it cannot write it.
using ReadoutWriter = int (*)(char* path, int a, int b);

/// Lets the module write its file, adds it to the text and removes it. Nothing for a program.
Outcome show_file(Readout& out, ReadoutWriter write, int a = 0);

/// A command that does just that; `records` gives a program's form.
template <ReadoutWriter write, Json (*records)()>
Outcome show_readout(Readout& out, const Args&) {
  if (out.reader() == Reader::program) out.set(records());
  return show_file(out, write);
}

}  // namespace dhcp::softswitch::cli
