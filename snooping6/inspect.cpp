/// The decision on a DHCPv6 frame: its door, the gate that every frame passes, and the one place where a fate becomes a
/// log text, a count and an answer.
#include "snooping6/inspect.h"

#include "base/log.h"
#include "base/services.h"

namespace dhcp::snooping6 {

FrameCounts frame_counts;

namespace {

/// A frame that nobody behind snooping takes is sent out here.
Outcome leave(skpack& skp, const packet::Frame6& frame, const Outcome& handed_on, const Outcome& sent) {
  if (base::relay6_on() || base::server6_on()) return handed_on;
  dhcp6_snooping_send_packet(&skp, frame.in_intf(), frame.vlan());
  return sent;
}

Outcome inspect(skpack& skp, const packet::Frame6& frame, const Interface& port) {
  if (!vlan_snooped(frame.vlan())) {
    return leave(skp, frame, {DHCP_SNOOP_NOT_SNOOPED, "packet,goto dhcpv6 relay function", true},
                 {DHCP_SNOOP_NOT_SNOOPED, "packet,the packet vlan is not dhcpv6 snooping vlan,forward it"});
  }
  if (const Step stopped = port.trust != 0 ? server_side(frame) : client_side(frame)) return *stopped;
  return leave(skp, frame, {DHCP_SNOOP_PASSED, "packet,goto dhcp relay function", true},
               {DHCP_SNOOP_FORWARDED, "packet,forward the dhcpv6 packet."});
}

/// Where an outcome becomes what the log, the counters and the dispatcher are told.
int conclude(const Interface* port, unsigned type, const Outcome& outcome) {
  if (outcome.text != nullptr) DHCP_LOG_AT(base::module_frame, log_name, "%s", outcome.text);
  frame_counts.count(port != nullptr ? port->ifindex : 0, outcome.verdict, type);
  return outcome.passed ? 0 : -1;
}

int process(skpack& skp, const std::optional<packet::Frame6>& frame) {
  Interface* port = interfaces.find(skp.in_intf);
  if (!frame) return conclude(port, 0, {DHCP_SNOOP_MALFORMED});
  if (port == nullptr) return conclude(port, 0, {DHCP_SNOOP_UNKNOWN_PORT});
  const unsigned type = frame->message().type();
  if (port->suppression != 0) return conclude(port, type, {DHCP_SNOOP_SUPPRESSED});
  DHCP_LOG_AT(base::module_frame, log_name, "packet,recv a dhcpv6 packet:vlan(%d),port(%d),message_type(%d)",
              frame->vlan(), static_cast<int>(frame->in_intf()), static_cast<int>(type));
  return conclude(port, type, inspect(skp, *frame, *port));
}

}  // namespace

}  // namespace dhcp::snooping6

int dhcp6_packet_snooping_process(skpack* skp) {
  using namespace dhcp;
  if (skp->ud_hdr == nullptr) {
    snooping6::frame_counts.count(0, DHCP_SNOOP_MALFORMED, 0);
    return -1;
  }
  const auto frame = packet::Frame6::parse(*skp);
  const snooping6::Lock lock;
  return snooping6::process(*skp, frame);
}
