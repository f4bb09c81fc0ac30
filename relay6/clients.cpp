/// Whose messages were relayed lately: where an answer for a peer address goes. On the dispatch task only.
#include <cstring>
#include <new>

#include "base/os.h"
#include "relay6/relay6.h"

namespace dhcp::relay6 {

namespace {

constexpr uint32_t reusable_after_s = 61;

/// An address in two loads, lower half first: clients of one link differ there, and every frame passes many slots.
class Wanted {
 public:
  explicit Wanted(const uint8_t* ip6) : high_(half(ip6)), low_(half(ip6 + half_size)) {}
  bool in(const Dhcp6InfoNode& slot) const {
    return half(slot.ip6 + half_size) == low_ && half(slot.ip6) == high_ && slot.valid != 0;
  }

 private:
  static constexpr size_t half_size = 8;
  static uint64_t half(const uint8_t* bytes) {
    uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  uint64_t high_, low_;
};

void drop_link(Dhcp6InfoNode& slot) {
  delete[] slot.link;
  slot.link = nullptr;
}

void release(Dhcp6InfoNode& slot) {
  drop_link(slot);
  slot.valid = 0;
  --gDhcp6Relay.info_count;
}

bool keep_link(Dhcp6InfoNode& slot, const uint8_t* link) {
  if (link == nullptr) {
    drop_link(slot);
    return true;
  }
  if (slot.link == nullptr) slot.link = new (std::nothrow) uint8_t[DHCP6_RELAY_LINK_SIZE];
  if (slot.link == nullptr) {
    DHCP_LOG_AT(base::module_frame, log_name, "malloc failed for dhcpv6 relay link \n");
    return false;
  }
  std::copy_n(link, DHCP6_RELAY_LINK_SIZE, slot.link);
  return true;
}

}  // namespace

void clear_clients() {
  for (Dhcp6InfoNode& slot : gDhcp6Relay.info_table) {
    if (slot.valid != 0) release(slot);
  }
}

}  // namespace dhcp::relay6

using namespace dhcp::relay6;

int dhcp6_get_info_table_index(const uint8_t ip6[16], int* found) {
  const Wanted wanted(ip6);
  const uint32_t now = dhcp::base::now32();
  int unused = -1, oldest = -1;
  uint32_t oldest_age = 0;
  *found = 0;
  for (int i = 0; i < DHCP6_RELAY_CLIENTS; ++i) {
    Dhcp6InfoNode& slot = gDhcp6Relay.info_table[i];
    if (wanted.in(slot)) {
      *found = 1;
      return i;
    }
    const uint32_t age = now - slot.time;
    if (slot.valid != 0 && age >= reusable_after_s) release(slot);
    if (slot.valid == 0) {
      if (unused < 0) unused = i;
    } else if (oldest < 0 || age > oldest_age) {
      oldest = i;
      oldest_age = age;
    }
  }
  if (unused >= 0) return unused;
  release(gDhcp6Relay.info_table[oldest]);
  return oldest;
}

int dhcp6_relay_add_info_table(const uint8_t ip6[16], const uint8_t mac[6], uint32_t port, uint32_t vlan,
                               const uint8_t* link) {
  int found = 0;
  Dhcp6InfoNode& slot = gDhcp6Relay.info_table[dhcp6_get_info_table_index(ip6, &found)];
  if (!keep_link(slot, link)) return -1;
  std::copy_n(ip6, sizeof slot.ip6, slot.ip6);
  std::copy_n(mac, sizeof slot.mac, slot.mac);
  slot.vlan = static_cast<uint16_t>(vlan);
  slot.port = static_cast<uint16_t>(port);
  slot.time = dhcp::base::now32();
  slot.valid = 1;
  if (found == 0) ++gDhcp6Relay.info_count;
  DHCP_LOG_AT(dhcp::base::module_frame, log_name,
              "packet,add dhcp info node:from_ip(0x%x),from_vlan(%d),from_port(%d),mac(%02x:%02x:%02x:%02x:%02x:%02x)",
              Ip6::from(ip6).last32(), static_cast<int>(vlan), static_cast<int>(port), mac[0], mac[1], mac[2], mac[3],
              mac[4], mac[5]);
  return 0;
}

int dhcp6_relay_get_info_table(const uint8_t ip6[16], uint8_t* mac_out, uint16_t* port_out, uint16_t* vlan_out,
                               uint8_t* link_out) {
  const Wanted wanted(ip6);
  for (const Dhcp6InfoNode& slot : gDhcp6Relay.info_table) {
    if (!wanted.in(slot)) continue;
    if (mac_out != nullptr) std::copy_n(slot.mac, sizeof slot.mac, mac_out);
    if (port_out != nullptr) *port_out = slot.port;
    if (vlan_out != nullptr) *vlan_out = slot.vlan;
    if (link_out == nullptr) return 0;
    std::fill_n(link_out, DHCP6_RELAY_LINK_SIZE, uint8_t{0});
    if (slot.link != nullptr) std::copy_n(slot.link, DHCP6_RELAY_LINK_SIZE, link_out);
    return 0;
  }
  return -1;
}
