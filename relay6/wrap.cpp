#include "relay6/wrap.h"

#include <array>

#include "base/device_mac.h"
#include "base/own_ip6.h"
#include "packet/carried6.h"
#include "packet/datagram6.h"

namespace dhcp::relay6 {

namespace {

using packet::Carried6;
using packet::MessageType6;

Built failed(Dhcp6RelayVerdict verdict) { return {{}, verdict}; }

Built too_long(Dhcp6RelayVerdict verdict) {
  DHCP_LOG_AT(base::module_frame, log_name, "packet,Invalid packet length of received dhcp");
  return failed(verdict);
}

Built no_relay_forward() {
  DHCP_LOG_AT(base::module_frame, log_name, "packet, Invalid Dhcpv6 relay forward packet!\n");
  return failed(DHCP6_RELAY_REQUEST_MALFORMED);
}

Built no_relay_reply() {
  DHCP_LOG_AT(base::module_frame, log_name, "packet,Invalid Dhcpv6 relay reply packet!\n");
  return failed(DHCP6_RELAY_REPLY_MALFORMED);
}

/// Both ends of a frame from the device's address on `vlan`; nothing when the device has none there, or no MAC.
std::optional<packet::Datagram6> from_device(uint32_t vlan) {
  const auto own = base::own_ip6(vlan);
  if (!own || !base::know_device_mac(gDhcp6Relay.ifname, gDhcp6Relay.dev_mac, gDhcp6Relay.dev_mac_valid)) {
    return std::nullopt;
  }
  packet::Datagram6 datagram;
  datagram.from_mac = MacAddress::from(gDhcp6Relay.dev_mac);
  datagram.from = *own;
  datagram.vlan = static_cast<uint16_t>(vlan);
  return datagram;
}

std::array<uint8_t, DHCP6_RELAY_LINK_SIZE> link_and_peer(const Ip6& link, const Ip6& peer) {
  std::array<uint8_t, DHCP6_RELAY_LINK_SIZE> both;
  link.copy_to(both.data());
  peer.copy_to(both.data() + link.bytes.size());
  return both;
}

Built build_request(const packet::Frame6& received, std::span<uint8_t> buffer, const Dhcp6ServerNode& to, uint8_t hops,
                    std::span<const uint8_t> content) {
  auto datagram = from_device(to.vlan);
  if (!datagram || buffer.empty()) return failed(DHCP6_RELAY_REQUEST_NOT_BUILT);
  datagram->to_mac = MacAddress::from(to.mac);
  datagram->to = Ip6::from(to.ip6);
  // Towards servers the relay speaks from the client's port.
  datagram->from_port = packet::udp::port_client6;
  datagram->to_port = packet::udp::port_server6;
  const size_t size = packet::put_relay_message(packet::datagram6_message(buffer), MessageType6::relay_forward, hops,
                                                link_and_peer(datagram->from, received.ip_source()), content);
  if (size == 0) return failed(DHCP6_RELAY_REQUEST_NOT_BUILT);
  return {packet::finish_datagram6(buffer, size, *datagram), DHCP6_RELAY_REQUEST_RELAYED};
}

/// The message behind the headers of an answer: its size, or 0 when there is no room.
size_t put_answer(std::span<uint8_t> room, const uint8_t* link, uint8_t hops, std::span<const uint8_t> content) {
  if (link != nullptr) {
    return packet::put_relay_message(room, MessageType6::relay_reply, hops,
                                     std::span<const uint8_t, DHCP6_RELAY_LINK_SIZE>(link, DHCP6_RELAY_LINK_SIZE),
                                     content);
  }
  if (room.size() < content.size()) return 0;
  std::copy(content.begin(), content.end(), room.begin());
  return content.size();
}

Built build_answer(std::span<uint8_t> buffer, const Recipient& to, uint8_t hops, std::span<const uint8_t> content) {
  auto datagram = from_device(to.vlan);
  if (!datagram || buffer.empty()) return failed(DHCP6_RELAY_REPLY_NOT_BUILT);
  datagram->to_mac = to.mac;
  datagram->to = to.peer;
  // A further relay, too, is answered at the client's port.
  datagram->from_port = packet::udp::port_server6;
  datagram->to_port = packet::udp::port_client6;
  const size_t size = put_answer(packet::datagram6_message(buffer), to.link, hops, content);
  if (size == 0) return failed(DHCP6_RELAY_REPLY_NOT_BUILT);
  return {packet::finish_datagram6(buffer, size, *datagram),
          to.link != nullptr ? DHCP6_RELAY_REPLY_TO_RELAY : DHCP6_RELAY_REPLY_TO_CLIENT};
}

}  // namespace

std::span<uint8_t> build_buffer() {
  return {gDhcp6Relay.send_buf, gDhcp6Relay.send_buf == nullptr ? size_t{0} : size_t{DHCP6_RELAY_BUFFER_SIZE}};
}

Built wrap_request(const packet::Frame6& received, std::span<uint8_t> buffer, const Dhcp6ServerNode& destination) {
  const auto& message = received.message();
  if (!message.whole()) return too_long(DHCP6_RELAY_REQUEST_MALFORMED);
  if (!message.is(MessageType6::relay_forward)) {
    return build_request(received, buffer, destination, 0, message.bytes());
  }
  // A further relay's message is replaced, not nested: the server sees one relay, whose hop count goes on counting.
  auto relay = received.relay_message();
  std::span<uint8_t> content;
  switch (relay ? packet::carried_message(*relay, content) : Carried6::nothing) {
    case Carried6::nothing: return no_relay_forward();
    case Carried6::runs_off: return too_long(DHCP6_RELAY_REQUEST_MALFORMED);
    case Carried6::message: break;
  }
  const Built built = build_request(received, buffer, destination, relay->hop_count(), content);
  if (built.ok()) relay->set_hop_count(static_cast<uint8_t>(relay->hop_count() + 1));
  return built;
}

Built unwrap_reply(const packet::Frame6& received, std::span<uint8_t> buffer, const Recipient& to) {
  if (!received.message().whole()) return too_long(DHCP6_RELAY_REPLY_MALFORMED);
  auto relay = received.relay_message();
  std::span<uint8_t> content;
  switch (relay ? packet::carried_message(*relay, content) : Carried6::nothing) {
    case Carried6::nothing: return no_relay_reply();
    case Carried6::runs_off: return too_long(DHCP6_RELAY_REPLY_MALFORMED);
    case Carried6::message: break;
  }
  const uint8_t hops = relay->hop_count();
  const Built built = build_answer(buffer, to, hops, content);
  if (built.ok() && to.link != nullptr && hops != 0) relay->set_hop_count(static_cast<uint8_t>(hops - 1));
  return built;
}

}  // namespace dhcp::relay6

using namespace dhcp;

namespace {

std::optional<packet::Frame6> received_frame(const skpack& skp) {
  return packet::Frame6::parse(skp, packet::UdpPointer::ud_hdr_or_upper);
}

int length_of(const relay6::Built& built) { return built.ok() ? static_cast<int>(built.frame.size()) : -1; }

}  // namespace

int dhcp6_relay_construct_request(skpack* skp, uint8_t* buf, const Dhcp6ServerNode* node) {
  const auto frame = received_frame(*skp);
  if (!frame) return -1;
  return length_of(relay6::wrap_request(*frame, {buf, DHCP6_RELAY_BUFFER_SIZE}, *node));
}

int dhcp6_relay_construct_reply(skpack* skp, uint8_t* buf, uint32_t vlan, const uint8_t mac[6], const uint8_t peer[16],
                                const uint8_t* link) {
  const auto frame = received_frame(*skp);
  if (!frame) return -1;
  const relay6::Recipient to{base::MacAddress::from(mac), static_cast<uint16_t>(vlan), base::Ip6::from(peer), link};
  return length_of(relay6::unwrap_reply(*frame, {buf, DHCP6_RELAY_BUFFER_SIZE}, to));
}
