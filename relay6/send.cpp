/// The way out: by the destination's configured interface, else by its MAC.
#include "dhcp/packet6.h"
#include "packet/egress.h"
#include "packet/link_frame.h"
#include "relay6/relay6.h"

using namespace dhcp;

int dhcp6_relay_send(uint8_t* buf, uint32_t len, uint32_t in_intf, uint32_t vlan, uint32_t out_intf) {
  const std::span<uint8_t> frame(buf, len);
  const auto tag = packet::tag_in(frame);
  if (!tag) return -1;
  vlan = *tag;
  skpack record = packet::frame_buffer(frame);
  record.in_intf = in_intf;
  DHCP_LOG_AT(base::module_frame, relay6::log_name, "packet,send a dhcp packet:vlan(%d),from_port(%d),request",
              static_cast<int>(vlan), static_cast<int>(in_intf));
  return dhcp6_relay_send_packet(&record, vlan, out_intf);
}

int dhcp6_relay_send_packet(skpack* skp, uint32_t vlan, uint32_t out_intf) {
  const auto frame = packet::LinkFrame::parse(*skp);
  if (!frame) return -1;
  const base::MacAddress to = frame->destination();
  if (out_intf == 0 && dhcp6_is_multicast_ether_addr(to.bytes.data()) != 0) {
    packet::send_flood(*skp, gDhcp6Relay.port_list, gDhcp6Relay.port_users, vlan);
    return 0;
  }
  uint32_t port = out_intf;
  if (port == 0 && adp_get_intf_by_addr(to.bytes.data(), vlan, &port) != 0) {
    relay6::count_unknown_destination();
    return 0;
  }
  packet::send_to_port(*skp, port, vlan, packet::SendMode::snooped);
  return 0;
}
