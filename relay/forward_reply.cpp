/// Replies, back to the VLAN and port of the client that asked.
#include <algorithm>

#include "base/log.h"
#include "packet/options4.h"
#include "relay/forward.h"
#include "relay/helpers.h"

namespace dhcp::relay {

namespace {

/// The server's identifier (RFC 2132 section 9.7).
std::optional<uint32_t> server_of(const packet::Message4& reply) {
  const auto value = packet::find_in_message(reply, packet::option::server_id);
  if (!value || value->size() < 4) return std::nullopt;
  return packet::load_be32(value->data());
}

/// The VLAN of the helper that sent the reply, which is counted for it; nothing when it is no helper's.
std::optional<uint32_t> vlan_of_helper(uint32_t server) {
  std::optional<uint32_t> vlan;
  helpers().each([&](const DhcpServerNode& node, base::HelperCounters& count) {
    if (node.ip != server) return true;
    vlan = node.vlan;
    count.replies.fetch_add(1, std::memory_order_relaxed);
    return false;
  });
  return vlan;
}

/// The rewrite's offsets hold for this frame.
bool laid_out_plainly(const packet::Frame4& frame) {
  return frame.message().bytes().data() == frame.bytes().data() + packet::tagged_dhcp_offset;
}

void readdress(const packet::Frame4& frame, const uint8_t* client_mac, bool to_all) {
  if (!management_vlan_mode() || !laid_out_plainly(frame)) return;
  const auto server = server_of(frame.message());
  if (!server) return;
  const auto vlan = vlan_of_helper(*server);
  if (vlan) DHCPR_modify_reply_packet_ip_mac(frame.bytes().data(), client_mac, *vlan, to_all ? 1 : 0);
}

int send_reply(skpack& skp, uint32_t in_intf, uint32_t from_vlan) {
  DHCP_LOG(base::module_relay, "dhcp_relay", "send a dhcp packet:vlan(%d),from_port(%d),ack",
           static_cast<int>(from_vlan), static_cast<int>(in_intf));
  return dhcpr_send_packet(&skp, in_intf, from_vlan);
}

bool for_the_device(const packet::Frame4& frame) {
  const base::MacAddress own = device_mac();
  return dhcpr_cfg.dev_mac_valid == 1 && frame.destination() == own;
}

}  // namespace

Outcome relay_reply(packet::Frame4& frame, skpack& skp) {
  const uint8_t type = packet::message_type_of(frame.message());
  const base::MacAddress client = frame.message().client_mac();
  uint32_t from_vlan = 0;
  uint16_t to_all = 0;
  if (get_dhcp_info(client.bytes.data(), nullptr, nullptr, &from_vlan, &to_all) != 0) {
    if (for_the_device(frame)) return {0, DHCPR_REPLY_FOR_DEVICE, type};
    send_reply(skp, frame.in_intf(), frame.vlan());
    return {0, DHCPR_REPLY_PASSED_ON, type};
  }
  frame.set_vlan(static_cast<uint16_t>(from_vlan));
  readdress(frame, client.bytes.data(), to_all == 1);
  send_reply(skp, frame.in_intf(), from_vlan);
  return {0, DHCPR_REPLY_TO_CLIENT, type};
}

}  // namespace dhcp::relay

int DHCPR_send_ack_packet(skpack* skp, const uint8_t client_mac[6], uint32_t in_intf, uint32_t /*vlan*/,
                          uint32_t from_vlan, int bcast) {
  using namespace dhcp::relay;
  const auto frame = dhcp::packet::Frame4::parse(*skp);
  if (frame) readdress(*frame, client_mac, bcast == 1);
  return send_reply(*skp, in_intf, from_vlan);
}
