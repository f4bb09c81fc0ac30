/// Messages on a trusted port: a server of the list may answer, and its REPLY completes the client's binding.
#include "base/os.h"
#include "packet/options6.h"
#include "snooping6/database.h"
#include "snooping6/inspect.h"

namespace dhcp::snooping6 {

namespace {

bool trusted(uint32_t intf) {
  const Interface* port = interfaces.find(intf);
  return port != nullptr && port->trust != 0;
}

/// An endless lease is -1 here and becomes the shortest; one of no seconds makes it as if none had been seen.
void note_replied_lease(int32_t lease) {
  int32_t& shortest = g_dhcp6_snooping.min_lease;
  if (shortest == 0 || lease < shortest) shortest = lease;
}

/// The client is where it was last heard.
void move_if_heard_elsewhere(MacBind6Struct& binding) {
  if (binding.vlan == binding.new_vlan && binding.intf == binding.new_intf) return;
  bindings.leave_address(binding);
  binding.vlan = binding.new_vlan;
  binding.intf = binding.new_intf;
}

void take_lease(MacBind6Struct& binding, const packet::IaAddress6& given) {
  set_address(binding, given.ip);
  binding.lease = static_cast<int32_t>(given.valid);
  binding.time = static_cast<int32_t>(base::now32());
  bindings.enter_address(binding);
}

/// A client behind a port that is trusted by now is no longer watched.
void reply(MacBind6Struct& binding, const packet::IaAddress6& given) {
  if (binding.is_static != 0) {
    take_lease(binding, given);
  } else if (trusted(binding.intf)) {
    bindings.erase(binding);
  } else {
    move_if_heard_elsewhere(binding);
    binding.state = binding::bound;
    take_lease(binding, given);
    note_replied_lease(binding.lease);
  }
  set_bind_changed();
}

}  // namespace

Step server_side(const packet::Frame6& frame) {
  if (in_set(frame, server_types) && server_refused(frame.ip_source())) {
    return Outcome{DHCP_SNOOP_SERVER_NOT_LISTED,
                   "packet,the source ip addr is invalid in the packet,so drop the packet"};
  }
  if (!frame.message().is(MessageType6::reply)) return std::nullopt;
  const auto ia = packet::find_ia6(frame.message().options());
  if (!ia || !ia->address) return Outcome{DHCP_SNOOP_NO_ADDRESS};
  MacBind6Struct* binding = bindings.find(frame.destination().bytes.data());
  if (binding != nullptr) reply(*binding, *ia->address);
  return std::nullopt;
}

}  // namespace dhcp::snooping6
