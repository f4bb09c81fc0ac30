/// The bindings as values: what displays and programs read instead of the table itself.
#include <cstring>

#include "base/os.h"
#include "snooping/snooping.h"

namespace {

DhcpSnoopBinding value_of(const MacBindStruct& binding) {
  DhcpSnoopBinding value{};
  std::memcpy(value.mac, binding.mac, sizeof value.mac);
  value.ip = binding.ip;
  value.intf = binding.intf;
  value.vlan = binding.vlan;
  value.lease = binding.lease;
  value.age = static_cast<int32_t>(dhcp::base::now32() - static_cast<uint32_t>(binding.time));
  value.is_static = binding.is_static;
  value.state = binding.state;
  return value;
}

}  // namespace

int dhcp_snoop_get_bindings(DhcpSnoopBinding* out, int room) {
  const dhcp::snooping::SnoopingLock lock;
  int count = 0;
  dhcp::snooping::each_binding([&](const MacBindStruct& binding) {
    if (count < room) out[count] = value_of(binding);
    ++count;
  });
  return count;
}
