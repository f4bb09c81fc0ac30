/// Display of the binding table.
#include "base/port_list.h"
#include "base/report.h"
#include "base/text.h"
#include "platform/text.h"
#include "snooping/snooping.h"

using namespace dhcp::snooping;

namespace {

void write_binding(FILE* out, const MacBindStruct& binding) {
  char mac[18];
  fprintf(out, "%20s | %-16s    %-4d    %4s%-5d    %-8d    %-8s\n", onu_mac2str(binding.mac, mac),
          dhcp::base::IpText(binding.ip).c_str(), binding.vlan, dhcp::base::is_group(binding.intf) ? "Ag" : "Gi",
          static_cast<int>(dhcp::base::interface_number(binding.intf)), binding.lease,
          binding.is_static != 0 ? "Static" : "Dynamic");
}

void write_bindings(FILE* out) {
  const SnoopingLock lock;
  fprintf(out, "%20s | %s    %s    %s    %s    %s\n", "Mac address", "IP address      ", "Vlan", "Interface",
          "Lease   ", "Status");
  fputs("         -----------   ----------          ----    ---------    -----       ------\n", out);
  each_binding([out](const MacBindStruct& binding) { write_binding(out, binding); });
}

}  // namespace

int show_dhcp_snoop_bind(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_bindings); }
