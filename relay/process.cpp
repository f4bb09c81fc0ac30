/// The relay's door.
#include <cstdio>

#include "base/log.h"
#include "base/port_list.h"
#include "relay/forward.h"

namespace {

namespace base = dhcp::base;
using dhcp::packet::Frame4;
using dhcp::relay::Outcome;

void log_received(const Frame4& frame) {
  const auto number = static_cast<int>(base::interface_number(frame.in_intf()));
  if (base::is_group(frame.in_intf())) {
    DHCP_LOG(base::module_relay, dhcp::relay::frames_log, "recv a dhcp packet:vlan(%d),agg(%d),op(%d)", frame.vlan(),
             number, frame.message().op());
  } else {
    DHCP_LOG(base::module_relay, dhcp::relay::frames_log, "recv a dhcp packet:vlan(%d),port(%d),op(%d)", frame.vlan(),
             number, frame.message().op());
  }
}

Outcome handle_request(const Frame4& frame, skpack& skp) {
  const Outcome outcome = dhcp::relay::relay_request(skp, frame.in_intf(), frame.vlan());
  if (outcome.result == 0) {
    add_valid_table(frame.message().client_mac().bytes.data(), frame.ip_source(), frame.in_intf(), frame.vlan(),
                    frame.message().flags());
  } else if (dhcp::relay::debug_level() == 0) {
    fprintf(stderr, "dhcpr handle error\r\n");
  }
  return outcome;
}

Outcome handle(skpack& skp) {
  auto frame = Frame4::parse(skp);
  if (!frame || !frame->tagged()) return {-1, DHCPR_UNTAGGED};
  if (dhcp::relay::debug_level() < dhcp::relay::quiet_level) {
    fprintf(stderr, "\n[%s:%d]  Get DHCP packet!vlan:%d\n", "dhcpr_packet_process", __LINE__, frame->vlan());
  }
  log_received(*frame);
  const bool reply = frame->message().op() == dhcp::packet::dhcp4::boot_reply;
  return reply ? dhcp::relay::relay_reply(*frame, skp) : handle_request(*frame, skp);
}

}  // namespace

int dhcpr_packet_process(skpack* skp) {
  const Outcome outcome = handle(*skp);
  dhcp::relay::frame_counts.count(skp->in_intf, outcome.verdict, outcome.type);
  return outcome.result;
}
