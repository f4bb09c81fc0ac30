/// IP source guard, ARP check, IGMP snooping: recorded with what they were told.
#include "platform/security.h"

#include <cstdio>

#include "tests/fake/device.h"

namespace {

int told(const char* what, uint32_t intf) {
  fake::device().call(what + std::string("(") + std::to_string(intf) + ")");
  return 0;
}

std::string client(const uint8_t* mac, uint32_t ip) {
  char text[40];
  snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x %08x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], ip);
  return text;
}

template <class... Numbers>
int noted(int answer, const char* what, const uint8_t* mac, uint32_t ip, Numbers... numbers) {
  std::string text = what + (" " + client(mac, ip));
  ((text += " " + std::to_string(numbers)), ...);
  fake::device().record(&fake::Device::neighbour_calls_, text);
  return answer;
}

}  // namespace

uint8_t arpr_cfg[2126];

int ipsg_add_port(uint32_t intf) { return told("ipsg_add_port", intf); }
int ipsg_del_port(uint32_t intf) { return told("ipsg_del_port", intf); }
int ipsg_port_change_action() { return told("ipsg_port_change_action", 0); }

int add_port_ipsg_entry(const ipsg_entry* e) {
  return noted(fake::device().source_guard_answer, "guard+", e->mac, e->ip, e->intf, e->vlan, e->lease);
}
int del_port_ipsg_entry(const ipsg_entry* e) {
  return noted(fake::device().source_guard_answer, "guard-", e->mac, e->ip, e->intf, e->vlan, e->lease);
}
int arp_add_entry_to_list(const arp_entry* e) {
  return noted(fake::device().fixed_arp_answer, "arp+", e->mac, e->ip, e->intf, e->type, e->lease);
}
int arp_del_entry_to_list(const arp_entry* e) {
  return noted(fake::device().fixed_arp_answer, "arp-", e->mac, e->ip, e->intf);
}
int sync_add_arp_check_entry(const uint8_t* mac, uint32_t ip, uint32_t intf, int type) {
  return noted(fake::device().arp_check_answer, "check+", mac, ip, intf, type);
}
int sync_del_arp_check_entry(const uint8_t* mac, uint32_t ip, uint32_t intf) {
  return noted(0, "check-", mac, ip, intf);
}
int sync_add_igsp_entry(const uint8_t* mac, uint32_t ip, uint32_t intf, int vlan, int lease) {
  return noted(0, "igmp+", mac, ip, intf, vlan, lease);
}
int arp_get_check_port_status(uint32_t intf) { return fake::device().ports_without_arp_check.count(intf) != 0 ? 0 : 1; }
