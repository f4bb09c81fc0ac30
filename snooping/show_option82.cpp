/// Displays of the option 82 settings, one line a VLAN.
#include "base/list.h"
#include "base/report.h"
#include "base/text.h"
#include "snooping/option82.h"
#include "snooping/snooping.h"

using namespace dhcp::snooping;

namespace {

/// Calls `write(SUB_OPTION&)` for every VLAN that has the setting, newest first.
template <class Write>
void each_with(SubOption type, Write write) {
  for (const SUB_OPTION& entry : dhcp::base::Records<SUB_OPTION>(g_dhcp_snooping.sub_option_list)) {
    if (has_setting(entry, type)) write(entry);
  }
}

void write_string_header(FILE* out, const char* number) {
  fprintf(out, "         %-6s   %-10s   %s\n", "Vlan", number, "String");
  fprintf(out, "         %-6s   %-10s   %s\n", "------", "----------", "------");
}

void write_string(FILE* out, uint32_t vlan, uint8_t number, const char* string) {
  fprintf(out, "         %-6u   %-10u   %s\n", vlan, number, string);
}

void write_circuit_ids(FILE* out) {
  const SnoopingLock lock;
  write_string_header(out, "Circuit id");
  each_with(SubOption::circuit_id,
            [out](const SUB_OPTION& set) { write_string(out, set.vlan, set.circuit_id, set.circuit_string); });
}

void write_remote_ids(FILE* out) {
  const SnoopingLock lock;
  write_string_header(out, "Remote id");
  each_with(SubOption::remote_id,
            [out](const SUB_OPTION& set) { write_string(out, set.vlan, set.remote_id, set.remote_string); });
}

void write_addresses(FILE* out) {
  const SnoopingLock lock;
  fprintf(out, "         %-6s   %s\n", "Vlan", "IP address");
  fprintf(out, "         %-6s   %s\n", "------", "----------");
  each_with(SubOption::link_selection, [out](const SUB_OPTION& set) {
    fprintf(out, "         %-6u   %s\n", set.vlan, dhcp::base::IpText(set.ip).c_str());
  });
}

}  // namespace

int show_dhcp_snoop_option82_circuit_id(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, write_circuit_ids);
}

int show_dhcp_snoop_option82_remote_id(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, write_remote_ids);
}

int show_dhcp_snoop_option82_ip(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, write_addresses);
}
