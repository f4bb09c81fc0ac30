#include "server6/relayed.h"

#include <algorithm>

#include "packet/datagram6.h"
#include "packet/egress.h"
#include "server6/request.h"

using namespace dhcp;
using packet::tagged_dhcp6_offset;

int dhcp6_server_relay_pkt_mod(skpack* relay_frame, uint8_t* buf, skpack* inner) {
  const auto outer = packet::Frame6::parse(*relay_frame);
  if (!outer || outer->bytes().size() > server6::work_size) return -1;
  const auto relay = outer->relay_message();
  if (!relay) return -1;
  const auto message = packet::find_option6(relay->options(), packet::option6::relay_message);
  constexpr size_t around = tagged_dhcp6_offset + packet::relay6::header_size + packet::option6::header_size;
  if (!message || outer->bytes().size() < message->size() + around) return -1;

  const std::span<uint8_t> work(buf, server6::work_size);
  std::copy(message->begin(), message->end(), packet::datagram6_message(work).begin());
  const auto frame = packet::finish_datagram6(work, message->size(),
                                              {.to_mac = outer->destination(),
                                               .from_mac = outer->source(),
                                               .vlan = outer->vlan(),
                                               .from = outer->ip_source(),
                                               .to = outer->ip_destination(),
                                               .from_port = packet::udp::port_server6,
                                               .to_port = packet::udp::port_server6});
  *inner = packet::frame_buffer(frame);
  inner->vlan_tag = buf + packet::eth::tpid.offset;
  inner->ip6_hdr = buf + packet::tagged_ip6_offset;
  inner->ud_hdr = buf + packet::tagged_udp6_offset;
  inner->in_intf = relay_frame->in_intf;
  return 0;
}
