/// Messages on an untrusted port: only a client may speak there, and a static one only from its own place.
#include "base/os.h"
#include "snooping6/inspect.h"

namespace dhcp::snooping6 {

namespace {

/// A client that was not bound yet is where it was last heard.
void stamp_learning(const packet::Frame6& frame, MacBind6Struct& binding) {
  binding.time = static_cast<int32_t>(base::now32());
  binding.intf = binding.new_intf = frame.in_intf();
  binding.vlan = binding.new_vlan = frame.vlan();
}

Step check_static_place(const packet::Frame6& frame, const MacBind6Struct& binding) {
  if (binding.intf == frame.in_intf() && binding.vlan == frame.vlan()) return std::nullopt;
  return Outcome{DHCP_SNOOP_STATIC_ELSEWHERE,
                 "packet,the packet port or vlan is  wrong in the static bind node,so drop the invalid packet"};
}

/// A client that opens an exchange. A move takes effect at the next REPLY only.
Step opened(const packet::Frame6& frame, MacBind6Struct& binding) {
  if (binding.state == binding::learning) {
    stamp_learning(frame, binding);
    return std::nullopt;
  }
  if (binding.is_static != 0) return check_static_place(frame, binding);
  binding.new_vlan = frame.vlan();
  binding.new_intf = frame.in_intf();
  return std::nullopt;
}

}  // namespace

Step client_side(const packet::Frame6& frame) {
  if (in_set(frame, server_types)) {
    return Outcome{DHCP_SNOOP_SERVER_ON_UNTRUSTED, "packet,the packet message type is wrong,so drop"};
  }
  const bool opens = in_set(frame, opening_types);
  const auto client = frame.source();
  MacBind6Struct* binding = opens ? bindings.find_or_create(client.bytes.data()) : bindings.find(client.bytes.data());
  if (binding == nullptr) {
    return Outcome{opens ? DHCP_SNOOP_TABLE_FULL : DHCP_SNOOP_NO_BINDING,
                   "packet,the request type packet do not find the bind node ,so drop the invalid packet"};
  }
  if (opens) return opened(frame, *binding);
  if (binding->is_static != 0) return check_static_place(frame, *binding);
  return std::nullopt;
}

}  // namespace dhcp::snooping6
