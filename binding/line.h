/// One line of a binding file: "mac,lease,vlan,interface,static,address", numbers in decimal, the address as the family
/// writes it.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

namespace dhcp::binding {

template <class Entry>
int print_line(FILE* stream, const Entry& entry, const char* address) {
  const uint8_t* mac = entry.mac;
  return fprintf(stream, "%02x:%02x:%02x:%02x:%02x:%02x,%d,%d,%d,%d,%s\n", mac[0], mac[1], mac[2], mac[3], mac[4],
                 mac[5], entry.lease, entry.vlan, static_cast<int>(entry.intf), entry.is_static, address);
}

/// Fills all but the address, as far as the line goes. The client was last heard where it is bound. The result is where
/// the address begins, or null when the line ends before.
template <class Entry>
const char* parse_line(const char* line, Entry& entry) {
  std::array<unsigned, 6> mac{};
  int lease = 0, vlan = 0, intf = 0, is_static = 0, address_at = 0;
  sscanf(line, "%x:%x:%x:%x:%x:%x,%d,%d,%d,%d,%n", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5], &lease, &vlan,
         &intf, &is_static, &address_at);
  for (size_t i = 0; i < mac.size(); ++i) entry.mac[i] = static_cast<uint8_t>(mac[i]);
  entry.lease = lease;
  entry.vlan = entry.new_vlan = vlan;
  entry.intf = entry.new_intf = static_cast<uint32_t>(intf);
  entry.is_static = is_static;
  return address_at != 0 ? line + address_at : nullptr;
}

}  // namespace dhcp::binding
