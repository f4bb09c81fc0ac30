/// The way out of the switch: to the port behind which a MAC was learnt, out of the route port, or to a whole VLAN.
#include "base/log.h"
#include "base/port_list.h"
#include "packet/bytes.h"
#include "packet/egress.h"
#include "packet/layout.h"
#include "relay/forward.h"

namespace {

namespace base = dhcp::base;
namespace eth = dhcp::packet::eth;
namespace ip4 = dhcp::packet::ip4;
using dhcp::packet::load_be16;
using dhcp::packet::SendMode;
using dhcp::relay::frames_log;

constexpr int route_vlan_mode = 2;

/// A member port of a group stands for the whole group, unless the frame came in on a group itself.
uint32_t with_its_group(uint32_t port, uint32_t in_intf) {
  uint32_t group = 0;
  if (base::is_group(in_intf) || port_in_aggport(port, &group) != 0 || group == 0) return port;
  return base::group_bit | group;
}

/// Where the last VLAN tag of a frame stands: behind an outer tag (0x9100) and at most one further one. 0 without.
size_t last_tag(std::span<const uint8_t> frame) {
  constexpr size_t tag_size = 4, least_size = tag_size + eth::type.size;
  const auto tag_at = [frame](size_t at) {
    return frame.size() >= at + least_size && load_be16(&frame[at]) == eth::tpid_8021q;
  };
  size_t at = eth::tpid.offset;
  if (frame.size() >= at + least_size && load_be16(&frame[at]) == eth::tpid_outer) at += tag_size;
  if (!tag_at(at)) return 0;
  if (tag_at(at + tag_size)) at += tag_size;
  return tag_at(at + tag_size) ? 0 : at;
}

/// Fills the record's header pointers as far as the headers lie in the frame.
void point_at_headers(skpack& record, std::span<uint8_t> frame, size_t tag) {
  const size_t type = tag + 4, ip = type + eth::type.size;
  record.vlan_tag = &frame[tag];
  if (load_be16(&frame[type]) != eth::type_ipv4 || frame.size() - ip < ip4::header_size) return;
  const size_t header_size = size_t{frame[ip]} % 16 * 4;
  record.ip_hdr = &frame[ip];
  if (header_size < ip4::header_size || frame.size() - ip <= header_size) return;
  record.upper = &frame[ip + header_size];
  if (frame[ip + ip4::protocol.offset] == ip4::protocol_udp) record.ud_hdr = record.upper;
}

void send_out_of_route_port(skpack& record, uint32_t vlan) {
  const int32_t mode = dhcpr_cfg.tag_mode.load(std::memory_order_relaxed);
  if (mode == route_vlan_mode) {
    dhcp::packet::store_be16(record.vlan_tag + 2, dhcp::relay::shared(dhcpr_cfg.route_vlan).load());
  }
  const auto port = static_cast<uint32_t>(dhcpr_cfg.route_port.load());
  if (mode == 0 || mode == route_vlan_mode) {
    dhcp::packet::send_to_port(record, port, vlan, SendMode::snooped);
  }
}

}  // namespace

namespace dhcp::relay {

bool send_built(std::span<uint8_t> frame, uint32_t in_intf, uint32_t vlan, bool l3) {
  const size_t tag = last_tag(frame);
  if (tag == 0) return false;
  skpack record = packet::frame_buffer(frame);
  record.in_intf = in_intf;
  point_at_headers(record, frame, tag);
  vlan = load_be16(record.vlan_tag + 2) & eth::vid_mask;
  DHCP_LOG(base::module_relay, frames_log, "send a dhcp packet:vlan(%d),from_port(%d) l3_flag(%d),request\n",
           static_cast<int>(vlan), static_cast<int>(in_intf), l3 ? 1 : 0);
  if (l3) {
    dhcpr_send_packet(&record, in_intf, vlan);
  } else {
    send_out_of_route_port(record, vlan);
  }
  return true;
}

}  // namespace dhcp::relay

int DHCPR_send(int /*sock*/, uint8_t* frame, uint32_t len, uint32_t in_intf, uint32_t vlan, int l3) {
  return dhcp::relay::send_built({frame, len}, in_intf, vlan, l3 == 1) ? 0 : -1;
}

int dhcpr_send_packet(skpack* skp, uint32_t in_intf, uint32_t vlan) {
  if (skp->data == nullptr || skp->psize < eth::destination.end()) return -1;
  const auto to = base::MacAddress::from(skp->data);
  if (to.is_broadcast()) {
    DHCP_LOG(base::module_relay, frames_log, "[%s]send packt to vlan broadcast, vlan[%d]\n", __func__,
             static_cast<int>(vlan));
    dhcp::packet::send_flood(*skp, dhcpr_cfg.port_list, dhcpr_cfg.port_users, vlan);
    return 0;
  }
  DHCP_LOG(base::module_relay, frames_log, "[%s]send dhcp request dmac[%02x:%02x:%02x:%02x:%02x:%02x] tovid:%d\n",
           __func__, to.bytes[0], to.bytes[1], to.bytes[2], to.bytes[3], to.bytes[4], to.bytes[5],
           static_cast<int>(vlan));
  uint32_t port = 0;
  if (adp_get_intf_by_addr(to.bytes.data(), vlan, &port) != 0) {
    dhcp::relay::count_unknown_destination();
    return 0;
  }
  port = with_its_group(port, in_intf);
  DHCP_LOG(base::module_relay, frames_log, "[%s]send packt to port forward, intf:%d vlan[%d]\n", __func__,
           static_cast<int>(port), static_cast<int>(vlan));
  dhcp::packet::send_to_port(*skp, port, vlan, SendMode::forwarded);
  return 0;
}
