/// The calls by which the module tells the neighbours whom it knows: IP source guard, ARP checking, IGMP snooping.
///
/// They come with the module's locks held and take the fabric's for a moment; none calls back.
#include "platform/security.h"

#include <cstring>

#include "softswitch/fabric.h"

using namespace dhcp::softswitch;

namespace {

constexpr int not_configured = -144;
constexpr size_t per_port_switch = 2125, fallback_word = 2104;

KnownHost host(uint32_t intf, uint32_t ip, const uint8_t mac[6], uint16_t vlan) {
  KnownHost made;
  made.intf = intf;
  made.ip = ip;
  made.vlan = vlan;
  std::memcpy(made.mac.data(), mac, made.mac.size());
  return made;
}

int put(HostList list, const KnownHost& entry) {
  return fabric().with([&](FabricState& s) { return s.guard.hosts(list).put(entry); }) ? 0 : -1;
}

int remove(HostList list, const KnownHost& entry) {
  return fabric().with([&](FabricState& s) { return s.guard.hosts(list).remove(entry); }) ? 0 : -1;
}

/// This device checks ARP port by port, and takes a fixed entry when its list is full.
int set_up_arp_record() {
  const uint32_t yes = 1;
  arpr_cfg[per_port_switch] = 1;
  std::memcpy(&arpr_cfg[fallback_word], &yes, sizeof yes);
  return 0;
}

}  // namespace

uint8_t arpr_cfg[2128] = {};

namespace {
[[maybe_unused]] const int arp_record_is_set_up = set_up_arp_record();
}

// Entries mirror the module's bindings, which outlive their port's device; so nothing depends on which ports there are.
int ipsg_add_port(uint32_t /*intf*/) { return 0; }
int ipsg_del_port(uint32_t /*intf*/) { return 0; }
int ipsg_port_change_action() { return 0; }

/// The entry is kept either way: the module tells of a binding once, and the port may be guarded later.
int add_port_ipsg_entry(const ipsg_entry* entry) {
  KnownHost known = host(entry->intf, entry->ip, entry->mac, entry->vlan);
  known.lease = entry->lease;
  return fabric().with([&](FabricState& s) {
    if (!s.guard.hosts(HostList::source_guard).put(known)) return -1;
    return s.guard.source_guarded(entry->intf) ? 0 : not_configured;
  });
}

int del_port_ipsg_entry(const ipsg_entry* entry) {
  return remove(HostList::source_guard, host(entry->intf, entry->ip, entry->mac, entry->vlan));
}

int arp_add_entry_to_list(const arp_entry* entry) {
  KnownHost known = host(entry->intf, entry->ip, entry->mac, 0);
  known.lease = entry->lease;
  known.type = entry->type;
  return put(HostList::fixed_arp, known);
}

int arp_del_entry_to_list(const arp_entry* entry) {
  return remove(HostList::fixed_arp, host(entry->intf, entry->ip, entry->mac, 0));
}

int sync_add_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int type) {
  KnownHost known = host(intf, ip, mac, 0);
  known.type = type;
  return fabric().with([&](FabricState& s) {
    return s.guard.arp_checked(intf) && s.guard.hosts(HostList::arp_check).put(known) ? 0 : -1;
  });
}

int sync_del_arp_check_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf) {
  return remove(HostList::arp_check, host(intf, ip, mac, 0));
}

int sync_add_igsp_entry(const uint8_t mac[6], uint32_t ip, uint32_t intf, int vlan, int lease) {
  KnownHost known = host(intf, ip, mac, static_cast<uint16_t>(vlan));
  known.lease = lease;
  return put(HostList::igmp, known);
}

int arp_get_check_port_status(uint32_t intf) {
  return fabric().with([=](FabricState& s) { return s.guard.arp_checked(intf); }) ? 1 : 0;
}
