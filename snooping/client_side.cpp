/// Messages on an untrusted port: only a client may speak there, as itself and from where it is known.
#include "base/log.h"
#include "snooping/counters.h"
#include "snooping/inspect.h"

namespace dhcp::snooping {

namespace {

using packet::MessageType;

/// The sender's own MAC may be exempt here, other than at the gate.
Step check_source(Inspection& in, const MacBindStruct& binding) {
  const auto source = in.frame().source();
  if (!source_is_checked(binding) || source == in.client()) return std::nullopt;
  const MacVerifyStruct* sender = find_MacVerifyStruct(source.bytes.data(), 0);
  if (sender != nullptr && sender->mode != verify_as_any_other) return std::nullopt;
  return Outcome{DHCP_SNOOP_SOURCE_MAC, "the packet is invaid in the verify function,so drop the packet"};
}

Step check_static_place(const Inspection& in, const MacBindStruct& binding) {
  if (in.binding_is_here(binding)) return std::nullopt;
  return Outcome{DHCP_SNOOP_STATIC_ELSEWHERE,
                 "the packet port or vlan is  wrong in the static bind node,so drop the invalid packet"};
}

/// A move takes effect at the next ACK, so that nobody moves a client by a mere question.
void note_place(const Inspection& in, MacBindStruct& binding) {
  binding.new_vlan = in.vlan();
  binding.new_intf = in.in_intf();
}

Step discover(Inspection& in) {
  MacBindStruct* binding = in.create_binding();
  if (binding == nullptr) return Outcome{DHCP_SNOOP_TABLE_FULL};
  if (const Step stopped = check_source(in, *binding)) return stopped;
  log_binding(__func__, __LINE__, "", *binding);
  if (binding->state == state_learning) return std::nullopt;  // stamped at the gate
  if (binding->is_static != 0) return check_static_place(in, *binding);
  note_place(in, *binding);
  return std::nullopt;
}

Step leave(Inspection& in) {
  if (in.binding()->intf != in.in_intf()) {
    return Outcome{DHCP_SNOOP_WRONG_PORT, "the relase or decline packet is invalid,so drop"};
  }
  if (in.is(MessageType::release) && in.binding_is_here(*in.binding())) in.release_binding();
  return std::nullopt;
}

/// REQUEST, DECLINE, RELEASE, INFORM. A REQUEST has had its entry since the gate.
Step known_client(Inspection& in) {
  MacBindStruct* binding = in.binding();
  if (binding == nullptr) {
    return Outcome{DHCP_SNOOP_NO_BINDING,
                   "the request type packet do not find the bind node ,so drop the invalid packet"};
  }
  if (const Step stopped = check_source(in, *binding)) return stopped;
  if (binding->is_static != 0) {
    if (const Step stopped = check_static_place(in, *binding)) return stopped;
  } else if (in.is(MessageType::request)) {
    note_place(in, *binding);
  }
  if (in.is(MessageType::release) || in.is(MessageType::decline)) return leave(in);
  return std::nullopt;
}

}  // namespace

Step client_side(Inspection& in) {
  if (!in.in_set(client_types)) {
    if (in.in_set(server_types)) note_rogue(in.frame(), in.vlan());
    return Outcome{DHCP_SNOOP_SERVER_ON_UNTRUSTED, "the packet message type is wrong,so drop"};
  }
  if (g_dhcp_snooping.allow_untrust_option82 == 0 && in.carries(packet::option::agent_information)) {
    return Outcome{DHCP_SNOOP_CLIENT_OPTION82,
                   "the packet is with user option82 in allow_untrust_option82 == 0,so drop the packet"};
  }
  return in.is(MessageType::discover) ? discover(in) : known_client(in);
}

}  // namespace dhcp::snooping
