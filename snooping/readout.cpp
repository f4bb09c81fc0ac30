/// Bindings and interfaces as values.
#include "binding/readout.h"

#include "snooping/bindings.h"

int dhcp_snoop_get_bindings(DhcpSnoopBinding* out, int room) {
  using namespace dhcp;
  const snooping::SnoopingLock lock;
  return binding::copy_bindings(snooping::bindings, out, room,
                                [](DhcpSnoopBinding& value, const MacBindStruct& entry) { value.ip = entry.ip; });
}

int dhcp_snoop_get_interfaces(SnoopIntfEntry* out, int room) {
  using namespace dhcp;
  const snooping::SnoopingLock lock;
  return binding::copy_interfaces(snooping::interfaces, out, room);
}
