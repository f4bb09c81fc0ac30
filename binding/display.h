/// The displays and the saved lines of both snoopings, as far as they look the same.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/vlan_set.h"
#include "dhcp/binding.h"

namespace dhcp::binding {

void write_label(FILE* out, const char* label);
void write_word(FILE* out, const char* label, const char* word);
void write_interval(FILE* out, const char* label, int32_t seconds);

/// Addresses under a label, two to a line; further lines begin under the label with a colon, "None" without any.
class AddressColumn {
 public:
  AddressColumn(FILE* out, const char* label);
  ~AddressColumn();
  AddressColumn(const AddressColumn&) = delete;
  AddressColumn& operator=(const AddressColumn&) = delete;
  void add(const char* address);

 private:
  FILE* out_;
  int written_ = 0;
};

/// "Gi3 " or "Ag1 ", as the interface tables name it.
class InterfaceName {
 public:
  explicit InterfaceName(uint32_t intf);
  const char* c_str() const { return text_; }

 private:
  char text_[16];
};

void write_binding_header(FILE* out);

void write_binding_row(FILE* out, const uint8_t* mac, const char* address, int32_t vlan, uint32_t intf, int32_t lease,
                       bool is_static);
template <class Entry>
void write_binding_row(FILE* out, const Entry& entry, const char* address) {
  write_binding_row(out, entry.mac, address, entry.vlan, entry.intf, entry.lease, entry.is_static != 0);
}

/// Saved lines; `command` is what the family's lines begin with.
void save_interface_line(FILE* out, uint32_t intf);
void save_vlans(FILE* out, const char* command, base::VlanBits vlans);
void save_interface(FILE* out, const char* command, const SnoopIntfEntry& port);

}  // namespace dhcp::binding
