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

}  // namespace dhcp::base
