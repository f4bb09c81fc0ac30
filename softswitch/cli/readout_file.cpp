#include "softswitch/cli/readout_file.h"

#include <unistd.h>

#include "softswitch/cli/running_config.h"

namespace dhcp::softswitch::cli {

Outcome show_file(Readout& out, ReadoutWriter write, int a) {
  if (out.reader() == Reader::program) return {};
  char path[128] = "";
  if (write(path, a, getpid()) < 0) return Fault{"the temporary file for this readout cannot be written"};
  const auto text = read_file(path);
  unlink(path);
  if (!text) return Fault{"the temporary file of this readout cannot be read"};
  out.say(*text);
  return {};
}

}  // namespace dhcp::softswitch::cli
