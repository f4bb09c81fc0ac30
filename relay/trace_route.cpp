/// Whether an address can be reached, by what "traceroute" has to say.
#include <cstdio>
#include <cstring>

#include "base/os.h"
#include "base/text.h"
#include "platform/text.h"
#include "relay/relay.h"

namespace {

/// False when a line tells of an unreachable hop, or of a second one that is silent.
bool all_hops_answer(FILE* output) {
  char line[125];
  while (fgets(line, sizeof line, output) != nullptr) {
    if (strstr(line, "!") != nullptr || strstr(line, "2  * * *") != nullptr) return false;
  }
  return true;
}

}  // namespace

int check_ip_valid_by_trace(uint32_t src, uint32_t /*unused*/, uint32_t dst) {
  using dhcp::base::IpText;
  char path[128] = "", command[124];
  get_tmp_file_name(0, path, 0, 0);
  const int length = snprintf(command, sizeof command, "traceroute -s %s %s -w 2 -m 2  > %s", IpText(src).c_str(),
                              IpText(dst).c_str(), path);
  if (length < 0 || static_cast<size_t>(length) >= sizeof command) return 0;  // it would write to another file
  dhcp::base::os.run(command);
  FILE* output = fopen(path, "re");
  if (output == nullptr) return 0;
  const bool reached = all_hops_answer(output);
  fclose(output);
  remove(path);
  return reached ? 1 : 0;
}
