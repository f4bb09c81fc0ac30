#include "softswitch/security.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <set>

#include "softswitch/cancel_hold.h"

uint8_t arpr_cfg[2128] = {};

namespace dhcp::softswitch {
namespace {

constexpr int not_configured = -144;
constexpr size_t most_entries = 4096;  // a table

struct Tables {
  std::mutex lock;
  std::vector<ipsg_entry> source_guard;
  std::vector<arp_entry> fixed_arp;
  std::vector<ArpCheckEntry> arp_check;
  std::vector<IgmpEntry> igmp;
  std::set<uint32_t> guarded, checked, interfaces;
};

Tables& tables() {
  static Tables the_tables;
  return the_tables;
}

/// Every table holds one entry for an address on an interface.
template <class Entry>
auto find(std::vector<Entry>& table, const Entry& entry) {
  return std::find_if(table.begin(), table.end(),
                      [&](const Entry& e) { return e.ip == entry.ip && e.intf == entry.intf; });
}

template <class Entry>
int put(std::vector<Entry>& table, const Entry& entry) {
  const auto at = find(table, entry);
  if (at != table.end()) {
    *at = entry;
    return 0;
  }
  if (table.size() == most_entries) return -1;
  table.push_back(entry);
  return 0;
}

template <class Entry>
int drop(std::vector<Entry>& table, const Entry& entry) {
  const auto at = find(table, entry);
  if (at == table.end()) return -1;
  table.erase(at);
  return 0;
}

void set_member(std::set<uint32_t>& set, uint32_t intf, bool on) {
  if (on) {
    set.insert(intf);
  } else {
    set.erase(intf);
  }
}

ArpCheckEntry check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int type) {
  ArpCheckEntry entry{ip, intf, {}, type};
  std::memcpy(entry.mac, mac, sizeof entry.mac);
  return entry;
}

template <class Value>
Value copy(const Value& value) {
  const HeldLock held(tables().lock);
  return value;
}

}  // namespace

std::vector<ipsg_entry> source_guard_entries() { return copy(tables().source_guard); }
std::vector<arp_entry> fixed_arp_entries() { return copy(tables().fixed_arp); }
std::vector<ArpCheckEntry> arp_check_entries() { return copy(tables().arp_check); }
std::vector<IgmpEntry> igmp_entries() { return copy(tables().igmp); }

std::vector<uint32_t> known_interfaces() {
  const HeldLock held(tables().lock);
  return {tables().interfaces.begin(), tables().interfaces.end()};
}

void set_source_guard(uint32_t intf, bool on) {
  const HeldLock held(tables().lock);
  set_member(tables().guarded, intf, on);
}

void set_arp_check(uint32_t intf, bool on) {
  const HeldLock held(tables().lock);
  set_member(tables().checked, intf, on);
}

}  // namespace dhcp::softswitch

using namespace dhcp::softswitch;

int ipsg_add_port(uint32_t intf) {
  const HeldLock held(tables().lock);
  tables().interfaces.insert(intf);
  return 0;
}

int ipsg_del_port(uint32_t intf) {
  const HeldLock held(tables().lock);
  tables().interfaces.erase(intf);
  std::erase_if(tables().source_guard, [=](const ipsg_entry& e) { return e.intf == intf; });
  return 0;
}

int ipsg_port_change_action() { return 0; }

int add_port_ipsg_entry(const ipsg_entry* entry) {
  const HeldLock held(tables().lock);
  if (tables().guarded.count(entry->intf) == 0) return not_configured;
  return put(tables().source_guard, *entry);
}

int del_port_ipsg_entry(const ipsg_entry* entry) {
  const HeldLock held(tables().lock);
  return drop(tables().source_guard, *entry);
}

int arp_add_entry_to_list(const arp_entry* entry) {
  const HeldLock held(tables().lock);
  return put(tables().fixed_arp, *entry);
}

int arp_del_entry_to_list(const arp_entry* entry) {
  const HeldLock held(tables().lock);
  return drop(tables().fixed_arp, *entry);
}

int sync_add_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int type) {
  const HeldLock held(tables().lock);
  return put(tables().arp_check, check_entry(mac, ip, intf, type));
}

int sync_del_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf) {
  const HeldLock held(tables().lock);
  return drop(tables().arp_check, check_entry(mac, ip, intf, 0));
}

int sync_add_igsp_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int vlan, int lease) {
  IgmpEntry entry{ip, intf, {}, vlan, lease};
  std::memcpy(entry.mac, mac, sizeof entry.mac);
  const HeldLock held(tables().lock);
  return put(tables().igmp, entry);
}

int arp_get_check_port_status(uint32_t intf) {
  const HeldLock held(tables().lock);
  return tables().checked.count(intf) != 0 ? 1 : 0;
}
