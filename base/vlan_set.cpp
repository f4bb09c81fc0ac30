#include "base/vlan_set.h"

namespace dhcp::base {

void write_vlan_list(FILE* out, VlanBits bits) {
  const char* comma = "";
  for (int first = next_vlan(bits, first_vlan); first <= last_vlan;) {
    int last = first;
    while (last < last_vlan && vlan_in(bits, last + 1)) ++last;
    if (last == first) {
      fprintf(out, "%s%d", comma, first);
    } else {
      fprintf(out, "%s%d-%d", comma, first, last);
    }
    comma = ",";
    first = next_vlan(bits, last + 1);
  }
}

void write_vlan_column(FILE* out, VlanBits bits) {
  constexpr int a_line = 8;
  int vlan = next_vlan(bits, first_vlan);
  if (vlan > last_vlan) fputs("None", out);
  for (int written = 1; vlan <= last_vlan; ++written) {
    const int following = next_vlan(bits, vlan + 1);
    const bool line_full = written % a_line == 0;
    fprintf(out, written == 1 ? "%d" : line_full ? " %d" : "  %d", vlan);
    if (line_full && following <= last_vlan) fprintf(out, "\n         %32s ", ":");
    vlan = following;
  }
  fputs("\n", out);
}

}  // namespace dhcp::base
