/// The clients whose requests were relayed, so that replies find their way back: 200 slots of the record, touched by
/// the dispatch task alone.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "base/log.h"
#include "base/os.h"
#include "relay/relay.h"

namespace {

using dhcp::relay::shared;

/// A younger slot is not given to another client while there is any other.
constexpr uint32_t free_age_s = 21;

/// Six bytes as one number: what is compared with every slot. Never leaves the machine, so any byte order will do.
uint64_t key_of(const uint8_t* mac) {
  uint64_t key = 0;
  memcpy(&key, mac, 6);
  return key;
}

/// The same for a slot, by one load: it begins with the MAC.
uint64_t key_of(const DhcpInfoNode& slot) {
  static_assert(offsetof(DhcpInfoNode, mac) == 0 && sizeof(DhcpInfoNode) >= sizeof(uint64_t));
  static constexpr uint8_t six[6] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
  uint64_t key = 0;
  memcpy(&key, &slot, sizeof key);
  return key & key_of(six);
}

/// Spares most walks over the slots. A slot that it names is the one that the walk would have found: the last one that
/// the client was given, with no hole and no slot out of date before it.
class Shortcut {
 public:
  void clear() { *this = Shortcut{}; }
  void written(uint64_t key, int index, uint32_t now) {
    place(key) = static_cast<uint8_t>(index);
    used_ = std::max(used_, index + 1);
    latest_ = std::max(latest_, now);
    earliest_ = used_ == 1 ? now : std::min(earliest_, now);
  }
  /// The first slot of the client, or null when only the walk can tell.
  const DhcpInfoNode* find(uint64_t key) {
    const DhcpInfoNode& slot = dhcpr_cfg.info_table[place(key)];
    return slot.valid == 1 && key_of(slot) == key ? &slot : nullptr;
  }
  /// Whether every slot from the first to the last in use is taken, by a client that keeps it.
  bool all_taken(uint32_t now) { return dhcpr_cfg.info_count == used_ && all_young(now); }

 private:
  static constexpr size_t places = 256;

  uint8_t& place(uint64_t key) {
    return slot_[static_cast<uint8_t>((key * 0x9e3779b97f4a7c15) >> 56)];  // Fibonacci hashing
  }
  bool all_young(uint32_t now) {
    if (now < latest_) return false;  // the clock was set back
    if (now - earliest_ >= free_age_s && now != looked_) {
      looked_ = now;
      earliest_ = now;
      for (const DhcpInfoNode& slot : dhcpr_cfg.info_table)
        if (slot.valid == 1) earliest_ = std::min(earliest_, slot.time);
    }
    return now - earliest_ < free_age_s;
  }

  std::array<uint8_t, places> slot_{};  // by the client's hash
  int used_ = 0;                        // slots that have ever been in use
  uint32_t earliest_ = 0, latest_ = 0;  // no slot was written before, none after
  uint32_t looked_ = 0;                 // when `earliest_` was last made exact
};
static_assert(DHCPR_TRANSACTIONS <= UINT8_MAX);

Shortcut shortcut;

void change_count(int32_t by) {
  auto count = shared(dhcpr_cfg.info_count);
  count.store(count.load(std::memory_order_relaxed) + by, std::memory_order_relaxed);
}

int free_slot(int index) {
  dhcpr_cfg.info_table[index].valid = 0;
  change_count(-1);
  return index;
}

/// The first of the oldest slots.
int oldest_slot(uint32_t now) {
  const auto age = [now](const DhcpInfoNode& slot) { return now - slot.time; };
  const auto& table = dhcpr_cfg.info_table;
  const auto* oldest = std::max_element(std::begin(table), std::end(table),
                                        [age](const auto& a, const auto& b) { return age(a) < age(b); });
  return static_cast<int>(oldest - table);
}

/// Looked for among as many used slots as there are.
const DhcpInfoNode* first_slot(uint64_t wanted) {
  int32_t left = dhcpr_cfg.info_count;
  for (const DhcpInfoNode& slot : dhcpr_cfg.info_table) {
    if (left <= 0) return nullptr;
    if (slot.valid == 0) continue;
    --left;
    if (key_of(slot) == wanted) return &slot;
  }
  return nullptr;
}

}  // namespace

void dhcp::relay::clear_transactions() {
  shared(dhcpr_cfg.info_count).store(0);
  shortcut.clear();
  std::fill(std::begin(dhcpr_cfg.info_table), std::end(dhcpr_cfg.info_table), DhcpInfoNode{});
}

/// The first slot that is unused, the client's or out of date; the oldest when there is none. A client that stands
/// behind a hole gets the hole.
int get_valid_table_index(const uint8_t mac[6], int* found) {
  const uint64_t wanted = key_of(mac);
  const uint32_t now = dhcp::base::now32();
  *found = 0;
  const DhcpInfoNode* const known = shortcut.find(wanted);
  if (known != nullptr && shortcut.all_taken(now)) {
    *found = 1;
    return static_cast<int>(known - dhcpr_cfg.info_table);
  }
  for (int index = 0; index < DHCPR_TRANSACTIONS; ++index) {
    const DhcpInfoNode& slot = dhcpr_cfg.info_table[index];
    if (slot.valid != 1) return index;
    if (key_of(slot) == wanted) {
      *found = 1;
      return index;
    }
    if (now - slot.time >= free_age_s) return free_slot(index);
  }
  return free_slot(oldest_slot(now));
}

int add_valid_table(const uint8_t mac[6], uint32_t from_ip, uint32_t from_port, uint32_t from_vlan, uint32_t flags) {
  if (mac == nullptr) return -1;
  constexpr uint32_t flags_mask = 0xffff;
  int found = 0;
  const int index = get_valid_table_index(mac, &found);
  DhcpInfoNode& slot = dhcpr_cfg.info_table[index];
  std::copy_n(mac, sizeof slot.mac, slot.mac);
  slot.from_ip = from_ip;
  slot.from_vlan = from_vlan;
  slot.from_port = from_port;
  slot.time = dhcp::base::now32();
  shortcut.written(key_of(mac), index, slot.time);
  slot.valid = 1;
  slot.bcast = (flags & flags_mask) != 0 ? 1 : 0;
  DHCP_LOG(dhcp::base::module_relay, "dhcp_relay",
           "add dhcp info node:from_ip(0x%x),from_vlan(%d),from_port(%d),mac(%02x:%02x:%02x:%02x:%02x:%02x)", from_ip,
           static_cast<int>(from_vlan), static_cast<int>(from_port), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  if (found == 0) change_count(1);
  return 0;
}

/// Ages do not count here: a late reply still finds its client.
int get_dhcp_info(const uint8_t mac[6], uint32_t* from_ip_out, uint32_t* from_port_out, uint32_t* from_vlan_out,
                  uint16_t* bcast_out) {
  if (mac == nullptr) return -1;
  const uint64_t wanted = key_of(mac);
  const DhcpInfoNode* slot = shortcut.find(wanted);
  if (slot == nullptr) slot = first_slot(wanted);
  if (slot == nullptr) return -1;
  if (from_ip_out != nullptr) *from_ip_out = slot->from_ip;
  if (from_port_out != nullptr) *from_port_out = slot->from_port;
  if (from_vlan_out != nullptr) *from_vlan_out = slot->from_vlan;
  if (bcast_out != nullptr) *bcast_out = slot->bcast;
  return 0;
}
