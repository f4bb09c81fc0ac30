#include "relay/rewrite.h"

#include <algorithm>
#include <cstdio>

#include "base/log.h"
#include "dhcp/packet.h"
#include "packet/bytes.h"
#include "packet/layout.h"
#include "platform/sysmng.h"

namespace {

namespace base = dhcp::base;
namespace eth = dhcp::packet::eth;
namespace ip4 = dhcp::packet::ip4;
namespace udp = dhcp::packet::udp;
namespace dhcp4 = dhcp::packet::dhcp4;
using dhcp::packet::Field;
using dhcp::packet::load_be32;
using dhcp::packet::store_be16;
using dhcp::packet::store_be32;

uint8_t* in_ip(uint8_t* frame, Field field) { return frame + dhcp::packet::tagged_ip_offset + field.offset; }
uint8_t* in_udp(uint8_t* frame, Field field) { return frame + dhcp::packet::tagged_udp_offset + field.offset; }
uint8_t* in_message(uint8_t* frame, Field field) { return frame + dhcp::packet::tagged_dhcp_offset + field.offset; }

void set_macs(uint8_t* frame, const uint8_t* to, const base::MacAddress& from) {
  std::copy_n(to, eth::destination.size, frame + eth::destination.offset);
  std::copy(from.bytes.begin(), from.bytes.end(), frame + eth::source.offset);
}

void set_addresses(uint8_t* frame, uint32_t from, uint32_t to) {
  store_be32(in_ip(frame, ip4::source), from);
  store_be32(in_ip(frame, ip4::destination), to);
  dhcp::relay::seal_ip_header(frame);
}

}  // namespace

namespace dhcp::relay {

std::optional<uint32_t> address_in(uint32_t vlan) {
  sysmng_vlan_info info{};
  if (sysmng_vlan_info_get(vlan, &info) < 1) return std::nullopt;
  return info.ip;
}

void seal_ip_header(uint8_t* frame) {
  uint8_t* ip = frame + packet::tagged_ip_offset;
  store_be16(ip + ip4::checksum.offset, 0);
  store_be16(ip + ip4::checksum.offset, static_cast<uint16_t>(check_sum(ip, ip4::header_size)));
}

bool fit_to_helper(uint8_t* frame, uint8_t client_hops, uint32_t relay_ip, const DhcpServerNode& helper) {
  const base::MacAddress own = device_mac();
  if (dhcpr_cfg.dev_mac_valid != 1) return false;
  set_macs(frame, helper.mac, own);
  set_addresses(frame, relay_ip, helper.ip);
  store_be32(in_message(frame, dhcp4::giaddr), relay_ip);
  *in_message(frame, dhcp4::hops) = static_cast<uint8_t>(client_hops + 1);
  store_be16(in_udp(frame, udp::checksum), 0);
  return true;
}

}  // namespace dhcp::relay

int DHCPR_bcm_tagging(uint8_t* out, int /*unused*/, uint16_t server_vlan, int /*l3*/) {
  const int32_t mode = dhcpr_cfg.tag_mode.load(std::memory_order_relaxed);
  switch (mode) {
    case 0: return 0;
    // The whole tag: a client's priority goes no further.
    case 1: store_be16(out + eth::tci.offset, server_vlan); return 0;
    case 2: store_be16(out + eth::tci.offset, dhcp::relay::shared(dhcpr_cfg.route_vlan).load()); return 0;
    default:
      DHCP_LOG_AT(base::module_relay, "dhcp_relay", "error config (tag %d)\r\n", mode);
      printf("error config (tag %d)\r\n", mode);
      return -1;
  }
}

int DHCPR_modify_request_packet_ip_mac(uint8_t* out, uint32_t vlan, const DhcpServerNode* server) {
  const auto relay_ip = dhcp::relay::address_in(vlan);
  if (!relay_ip) return -1;
  return dhcp::relay::fit_to_helper(out, *in_message(out, dhcp4::hops), *relay_ip, *server) ? 0 : -1;
}

int DHCPR_modify_reply_packet_ip_mac(uint8_t* frame, const uint8_t client_mac[6], uint32_t vlan, int bcast) {
  const auto relay_ip = dhcp::relay::address_in(vlan);
  if (!relay_ip) return -1;
  const base::MacAddress own = dhcp::relay::device_mac();
  if (dhcpr_cfg.dev_mac_valid != 1) return -1;
  const bool to_all = bcast == 1;
  set_macs(frame, to_all ? base::MacAddress::broadcast().bytes.data() : client_mac, own);
  set_addresses(frame, *relay_ip, to_all ? ip4::broadcast : load_be32(in_message(frame, dhcp4::yiaddr)));
  ++*in_message(frame, dhcp4::hops);
  store_be16(in_udp(frame, udp::destination), udp::port_client);
  store_be16(in_udp(frame, udp::checksum), 0);
  return 0;
}
