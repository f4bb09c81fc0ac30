#include "packet/egress.h"

#include "base/guard.h"

namespace dhcp::packet {

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
  __adp_transmit_frame(&frame, ports, vlan, static_cast<int>(SendMode::flood));
}

void send_to_port(skpack& frame, uint32_t port, uint32_t vlan, SendMode mode) {
  // A list of one lives on the stack: the device only reads it.
  intf_order_list list{};
  auto* sentinel = reinterpret_cast<intf_order_node*>(&list);
  intf_order_node only{sentinel, sentinel, port};
  list.next = list.prev = &only;
  __adp_transmit_frame(&frame, &list, vlan, static_cast<int>(mode));
}

bool send_to_mac(std::span<uint8_t> frame, const base::MacAddress& mac, uint32_t vlan, SendMode mode) {
  uint32_t port = 0;
  if (adp_get_intf_by_addr(mac.bytes.data(), vlan, &port) != 0) return false;
  skpack record = frame_buffer(frame);
  send_to_port(record, port, vlan, mode);
  return true;
}

}  // namespace dhcp::packet
