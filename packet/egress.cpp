#include "packet/egress.h"

#include "base/frame_watch.h"
#include "base/guard.h"
#include "packet/frame_line.h"
#include "platform/text.h"

namespace dhcp::packet {

namespace {

void tell(const skpack& frame, const intf_order_list* ports, SendMode mode) {
  FrameLine line;
  line.add("out %s", mode == SendMode::flood || ports == nullptr ? "all" : str_intf_id(ports->next->ifindex));
  line.describe({frame.data, frame.data != nullptr ? frame.psize : 0});
  base::tell_sent(line.c_str());
}

}  // namespace

void transmit(skpack& frame, intf_order_list* ports, uint32_t vlan, SendMode mode) {
  if (base::frames_watched()) tell(frame, ports, mode);
  __adp_transmit_frame(&frame, ports, vlan, static_cast<int>(mode));
}

skpack frame_buffer(std::span<uint8_t> frame) {
  skpack record{};
  record.head = record.data = frame.data();
  record.psize = static_cast<uint32_t>(frame.size());
  return record;
}

void send_flood(std::span<uint8_t> frame, intf_order_list* ports, std::atomic<uint32_t>& users, uint32_t vlan) {
  skpack record = frame_buffer(frame);
  send_flood(record, ports, users, vlan);
}

void send_flood(skpack& frame, intf_order_list* ports, std::atomic<uint32_t>& users, uint32_t vlan) {
  base::ReadGuard reader(users);
  transmit(frame, ports, vlan, SendMode::flood);
}

void send_to_port(skpack& frame, uint32_t port, uint32_t vlan, SendMode mode) {
  // A list of one lives on the stack: the device only reads it.
  intf_order_list list{};
  auto* sentinel = reinterpret_cast<intf_order_node*>(&list);
  intf_order_node only{sentinel, sentinel, port};
  list.next = list.prev = &only;
  transmit(frame, &list, vlan, mode);
}

bool send_to_mac(std::span<uint8_t> frame, const base::MacAddress& mac, uint32_t vlan, SendMode mode) {
  uint32_t port = 0;
  if (adp_get_intf_by_addr(mac.bytes.data(), vlan, &port) != 0) return false;
  skpack record = frame_buffer(frame);
  send_to_port(record, port, vlan, mode);
  return true;
}

}  // namespace dhcp::packet
