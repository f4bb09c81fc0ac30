/// The frame's way through the relay.
#include "packet/frame6.h"
#include "relay6/wrap.h"

namespace dhcp::relay6 {

namespace {

using packet::Frame6;
using packet::MessageType6;

enum class Direction { from_client, from_server, none };

Direction direction_of(uint8_t type) {
  switch (static_cast<MessageType6>(type)) {
    case MessageType6::solicit:
    case MessageType6::request:
    case MessageType6::confirm:
    case MessageType6::renew:
    case MessageType6::rebind:
    case MessageType6::release:
    case MessageType6::decline:
    case MessageType6::information_request:
    case MessageType6::relay_forward: return Direction::from_client;
    case MessageType6::relay_reply: return Direction::from_server;
    default: return Direction::none;
  }
}

int send(const Built& built, uint32_t in_intf, uint32_t vlan, uint32_t out_intf) {
  return dhcp6_relay_send(built.frame.data(), static_cast<uint32_t>(built.frame.size()), in_intf, vlan, out_intf);
}

/// To every destination whose MAC is known; the first one for which no frame can be built ends the round.
Dhcp6RelayVerdict send_to_destinations(const Frame6& frame, uint32_t in_intf, uint32_t vlan) {
  Dhcp6RelayVerdict verdict = DHCP6_RELAY_REQUEST_NO_DESTINATION;
  destinations().each([&](const Dhcp6ServerNode& node, base::HelperCounters& count) {
    if (node.valid != 1) return true;
    const Built built = wrap_request(frame, build_buffer(), node);
    verdict = built.verdict;
    if (!built.ok()) return false;
    send(built, in_intf, vlan, node.out_intf);
    ++count.requests;
    return true;
  });
  return verdict;
}

bool sent(Dhcp6RelayVerdict verdict) {
  return verdict == DHCP6_RELAY_REQUEST_RELAYED || verdict == DHCP6_RELAY_REQUEST_NO_DESTINATION;
}

/// The client is remembered also when there was nobody to send to.
Dhcp6RelayVerdict relay_request(const Frame6& frame) {
  const uint16_t vlan = frame.vlan();
  const Dhcp6RelayVerdict verdict = send_to_destinations(frame, frame.in_intf(), vlan);
  if (!sent(verdict)) {
    DHCP_LOG_AT(base::module_frame, log_name, "packet,dhcp6 relay send request packet failed!\n");
    return verdict;
  }
  const bool further_relay = frame.message().is(MessageType6::relay_forward);
  const auto relay = further_relay ? frame.relay_message() : std::nullopt;
  dhcp6_relay_add_info_table(frame.ip_source().bytes.data(), frame.source().bytes.data(), frame.in_intf(), vlan,
                             relay ? relay->addresses().data() : nullptr);
  return verdict;
}

void count_reply_from(const Ip6& server) {
  destinations().each([&](const Dhcp6ServerNode& node, base::HelperCounters& count) {
    if (Ip6::from(node.ip6) != server) return true;
    ++count.replies;
    return false;
  });
}

Dhcp6RelayVerdict send_to_peer(const Frame6& frame, uint32_t in_intf, const Recipient& to) {
  const Built built = unwrap_reply(frame, build_buffer(), to);
  if (built.ok()) send(built, in_intf, to.vlan, 0);
  return built.verdict;
}

Dhcp6RelayVerdict return_reply(const Frame6& frame) {
  constexpr uint8_t no_link[DHCP6_RELAY_LINK_SIZE] = {};
  const auto relay = frame.relay_message();
  if (!relay) return DHCP6_RELAY_REPLY_MALFORMED;
  Recipient to{};
  to.peer = relay->peer();
  uint8_t link[DHCP6_RELAY_LINK_SIZE];
  if (dhcp6_relay_get_info_table(to.peer.bytes.data(), to.mac.bytes.data(), nullptr, &to.vlan, link) != 0) {
    DHCP_LOG_AT(base::module_frame, log_name, "packet,dhcp6 relay get info table failed!\n");
    return DHCP6_RELAY_REPLY_UNKNOWN_PEER;
  }
  if (!std::equal(link, link + sizeof link, no_link)) to.link = link;
  count_reply_from(frame.ip_source());
  const Dhcp6RelayVerdict verdict = send_to_peer(frame, frame.in_intf(), to);
  if (verdict != DHCP6_RELAY_REPLY_TO_CLIENT && verdict != DHCP6_RELAY_REPLY_TO_RELAY) {
    DHCP_LOG_AT(base::module_frame, log_name, "packet,dhcp6 relay send ack packet failed!\n");
  }
  return verdict;
}

Dhcp6RelayVerdict relay(const Frame6& frame) {
  switch (direction_of(frame.message().type())) {
    case Direction::from_client: return relay_request(frame);
    case Direction::from_server: return return_reply(frame);
    case Direction::none: break;
  }
  return DHCP6_RELAY_IGNORED;
}

int result_of(Dhcp6RelayVerdict verdict) {
  switch (verdict) {
    case DHCP6_RELAY_REQUEST_RELAYED:
    case DHCP6_RELAY_REQUEST_NO_DESTINATION:
    case DHCP6_RELAY_REPLY_TO_CLIENT:
    case DHCP6_RELAY_REPLY_TO_RELAY:
    case DHCP6_RELAY_IGNORED: return 0;
    default: return -1;
  }
}

}  // namespace

}  // namespace dhcp::relay6

using namespace dhcp;

int dhcp6_relay_packet_process(skpack* skp) {
  const auto frame = packet::Frame6::parse(*skp, packet::UdpPointer::ud_hdr_or_upper);
  if (!frame || !frame->tagged()) {
    relay6::frame_counts.count(skp->in_intf, DHCP6_RELAY_UNTAGGED, frame ? frame->message().type() : 0);
    return -1;
  }
  const int vlan = frame->vlan();
  DHCP_LOG_AT(base::module_frame, relay6::log_name, "packet,Get DHCP packet!vlan:%d\n", vlan);
  DHCP_LOG_AT(base::module_frame, relay6::log_name, "packet,recv a dhcp packet:vlan(%d),port(%d),message_type(%d)",
              vlan, static_cast<int>(frame->in_intf()), frame->message().type());
  const Dhcp6RelayVerdict verdict = relay6::relay(*frame);
  relay6::frame_counts.count(skp->in_intf, verdict, frame->message().type());
  return relay6::result_of(verdict);
}

int dhcp6_relay_send_reqeust_packet(skpack* skp, uint32_t in_intf, uint32_t vlan) {
  const auto frame = packet::Frame6::parse(*skp, packet::UdpPointer::ud_hdr_or_upper);
  return frame ? relay6::result_of(relay6::send_to_destinations(*frame, in_intf, vlan)) : -1;
}

int dhcp6_relay_send_ack_packet(skpack* skp, uint32_t in_intf, uint32_t vlan, const uint8_t mac[6],
                                const uint8_t peer[16], const uint8_t* link) {
  const auto frame = packet::Frame6::parse(*skp, packet::UdpPointer::ud_hdr_or_upper);
  if (!frame) return -1;
  const relay6::Recipient to{base::MacAddress::from(mac), static_cast<uint16_t>(vlan), base::Ip6::from(peer), link};
  return relay6::result_of(relay6::send_to_peer(*frame, in_intf, to));
}
