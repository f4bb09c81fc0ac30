#include "softswitch/mac_table.h"

#include <algorithm>

#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

uint64_t key_of(uint16_t vlan, const uint8_t mac[6]) {
  return uint64_t{vlan} << 48 | uint64_t{load_be16(mac)} << 32 | load_be32(mac + 2);
}

}  // namespace

void MacTable::Entry::mac(uint8_t out[6]) const {
  store_be16(out, static_cast<uint16_t>(key >> 32));
  store_be32(out + 2, static_cast<uint32_t>(key));
}

MacTable::MacTable() : entries_(sets * ways) {}

size_t MacTable::set_of(uint64_t key) { return (key * 0x9e3779b97f4a7c15u >> 52) % sets * ways; }

void MacTable::learn(uint16_t vlan, const uint8_t mac[6], uint32_t intf, uint32_t now_s) {
  const uint64_t key = key_of(vlan, mac);
  Entry* const set = &entries_[set_of(key)];
  Entry* place = set;
  for (Entry* e = set; e != set + ways; ++e) {
    if (e->key == key) {
      place = e;
      break;
    }
    if (place->key != 0 && (e->key == 0 || static_cast<int32_t>(e->seen - place->seen) < 0)) place = e;
  }
  *place = {key, intf, now_s};
}

uint32_t MacTable::find(uint16_t vlan, const uint8_t mac[6]) const {
  const uint64_t key = key_of(vlan, mac);
  const Entry* const set = &entries_[set_of(key)];
  for (const Entry* e = set; e != set + ways; ++e)
    if (e->key == key) return e->intf;
  return 0;
}

template <class Predicate>
void MacTable::forget_if(Predicate gone) {
  for (Entry& e : entries_)
    if (e.key != 0 && gone(e)) e = {};
}

void MacTable::expire(uint32_t now_s, uint32_t limit_s) {
  if (limit_s == 0) return;  // no ageing
  forget_if([=](const Entry& e) { return now_s - e.seen >= limit_s; });
}

void MacTable::forget_intf(uint32_t intf) {
  forget_if([=](const Entry& e) { return e.intf == intf; });
}

void MacTable::forget_vlan(uint16_t vlan) {
  forget_if([=](const Entry& e) { return e.vlan() == vlan; });
}

void MacTable::clear() { entries_.assign(sets * ways, {}); }

std::vector<MacTable::Entry> MacTable::rows() const {
  std::vector<Entry> rows;
  std::copy_if(entries_.begin(), entries_.end(), std::back_inserter(rows), [](const Entry& e) { return e.key != 0; });
  std::sort(rows.begin(), rows.end(), [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return rows;
}

}  // namespace dhcp::softswitch
