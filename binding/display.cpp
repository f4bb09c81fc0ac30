#include "binding/display.h"

#include "base/port_list.h"
#include "platform/text.h"

namespace dhcp::binding {

void write_label(FILE* out, const char* label) { fprintf(out, "         %-32s ", label); }

void write_word(FILE* out, const char* label, const char* word) {
  write_label(out, label);
  fprintf(out, "%s \n", word);
}

void write_interval(FILE* out, const char* label, int32_t seconds) {
  write_label(out, label);
  fprintf(out, "%d s\n", seconds);
}

AddressColumn::AddressColumn(FILE* out, const char* label) : out_(out) { write_label(out, label); }

AddressColumn::~AddressColumn() {
  if (written_ == 0) fputs("None\n", out_);
  if (written_ % 2 != 0) fputs("\n", out_);
}

void AddressColumn::add(const char* address) {
  if (written_ % 2 != 0) {
    fprintf(out_, "%s\n", address);
  } else if (written_ == 0) {
    fprintf(out_, "%s ", address);
  } else {
    fprintf(out_, "         %32s %s ", ":", address);
  }
  ++written_;
}

InterfaceName::InterfaceName(uint32_t intf) {
  snprintf(text_, sizeof text_, "%s%d ", base::is_group(intf) ? "Ag" : "Gi",
           static_cast<int>(base::interface_number(intf)));
}

void write_binding_header(FILE* out) {
  fprintf(out, "%20s | %s    %s    %s    %s    %s\n", "Mac address", "IP address      ", "Vlan", "Interface",
          "Lease   ", "Status");
  fputs("         -----------   ----------          ----    ---------    -----       ------\n", out);
}

void write_binding_row(FILE* out, const uint8_t* mac, const char* address, int32_t vlan, uint32_t intf, int32_t lease,
                       bool is_static) {
  char text[18];
  fprintf(out, "%20s | %-16s    %-4d    %4s%-5d    %-8d    %-8s\n", onu_mac2str(mac, text), address, vlan,
          base::is_group(intf) ? "Ag" : "Gi", static_cast<int>(base::interface_number(intf)), lease,
          is_static ? "Static" : "Dynamic");
}

/// Two blanks stand before a port's number.
void save_interface_line(FILE* out, uint32_t intf) {
  const auto number = static_cast<int>(base::interface_number(intf));
  if (base::is_group(intf)) {
    fprintf(out, "interface aggregateport %d\r\n", number);
  } else {
    fprintf(out, "%s %d\r\n", "interface gigabitethernet ", number);
  }
}

void save_vlans(FILE* out, const char* command, base::VlanBits vlans) {
  if (!base::any_vlan(vlans)) return;
  fprintf(out, "%s vlan ", command);
  base::write_vlan_list(out, vlans);
  fputs("\r\n", out);
}

void save_interface(FILE* out, const char* command, const SnoopIntfEntry& port) {
  if (port.trust == 0 && port.suppression == 0) return;
  save_interface_line(out, port.ifindex);
  if (port.trust != 0) fprintf(out, "%s trust\r\n", command);
  if (port.suppression != 0) fprintf(out, "%s suppression\r\n", command);
  fputs("exit\r\n", out);
}

}  // namespace dhcp::binding
