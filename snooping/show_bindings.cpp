/// Display of the binding table.
#include "base/report.h"
#include "base/text.h"
#include "binding/display.h"
#include "snooping/bindings.h"

namespace {

using namespace dhcp;

void write_bindings(FILE* out) {
  const snooping::SnoopingLock lock;
  binding::write_binding_header(out);
  snooping::bindings.each_held(
      [out](const MacBindStruct& entry) { binding::write_binding_row(out, entry, base::IpText(entry.ip).c_str()); });
}

}  // namespace

int show_dhcp_snoop_bind(char* path, int a, int b) { return base::write_report(path, a, b, write_bindings); }
