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

size_t MacTable::set_of(uint64_t key) { return (key * 0x9e3779b97f4a7c15u >> 52) % sets; }

void MacTable::learn(uint16_t vlan, const uint8_t mac[6], uint32_t intf, uint32_t now_s) {
  const Entry entry{key_of(vlan, mac), intf, now_s};
  Entry* oldest = nullptr;
  size_t known = 0;
  Table::Link* link = &table_.head(set_of(entry.key));
  for (; *link != 0; link = &table_.next(*link), ++known) {
    Entry& e = table_.at(*link);
    if (e.key == entry.key) {
      e = entry;
      return;
    }
    if (oldest == nullptr || static_cast<int32_t>(e.seen - oldest->seen) < 0) oldest = &e;
  }
  if (known == ways) {
    *oldest = entry;
  } else {
    table_.add(*link, entry);
  }
}

uint32_t MacTable::find(uint16_t vlan, const uint8_t mac[6]) const {
  const uint64_t key = key_of(vlan, mac);
  Table::Link link = table_.head(set_of(key));
  while (link != 0 && table_.at(link).key != key) link = table_.next(link);
  return link == 0 ? 0 : table_.at(link).intf;
}

void MacTable::expire(uint32_t now_s, uint32_t limit_s) {
  if (limit_s == 0) return;  // no ageing
  table_.remove_if([=](const Entry& e) { return now_s - e.seen >= limit_s; });
}

void MacTable::forget_intf(uint32_t intf) {
  table_.remove_if([=](const Entry& e) { return e.intf == intf; });
}

void MacTable::forget_vlan(uint16_t vlan) {
  table_.remove_if([=](const Entry& e) { return e.vlan() == vlan; });
}

std::vector<MacTable::Entry> MacTable::rows() const {
  std::vector<Entry> rows;
  table_.for_each([&](const Entry& e) { rows.push_back(e); });
  std::sort(rows.begin(), rows.end(), [](const Entry& a, const Entry& b) { return a.key < b.key; });
  return rows;
}

}  // namespace dhcp::softswitch
