#include "snooping6/database.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "base/log.h"
#include "base/text.h"
#include "binding/clears.h"
#include "binding/database.h"
#include "binding/line.h"
#include "snooping6/bindings.h"

namespace dhcp::snooping6 {

namespace {

binding::Database<BindingRules> database(bindings,
                                         {"/var/config/dhcp6_snoop_table.ini", "/var/tmp/dhcp6_snoop_table.ini"});

/// A saved binding takes the place of one of the same MAC, VLAN and interface, such as a static one that the host has
/// configured already: a second one would be saved as well, and every restart would bring one more.
void take_in(MacBind6Struct* entry) {
  binding::erase_matching(bindings, binding::by_mac | binding::by_vlan | binding::by_intf,
                          {{}, base::MacAddress::from(entry->mac), entry->vlan, entry->intf});
  bindings.add(*entry);
  binding::note_lease(g_dhcp6_snooping.min_lease, entry->lease);
  bindings.enter_address(*entry);
}

}  // namespace

int BindingRules::print(FILE* stream, const Entry& entry) {
  return binding::print_line(stream, entry, base::Ip6Text(address(entry)).c_str());
}

bool BindingRules::parse(const char* line, Entry& entry) {
  const char* address = binding::parse_line(line, entry);
  if (address == nullptr) return false;
  std::array<char, 64> text{};
  const size_t length = std::min(strcspn(address, " \t\r\n"), text.size() - 1);
  memcpy(text.data(), address, length);
  return inet_pton(AF_INET6, text.data(), entry.ip6) == 1;
}

void restart_database() { database.restart(); }

void set_bind_changed() { database.set_changed(); }

void load_bindings(FILE* stream) { database.read(stream, take_in); }

}  // namespace dhcp::snooping6

using namespace dhcp::snooping6;
using dhcp::base::module_frame;

int write_dhcp6_snoop_to_flash() {
  const Lock lock;
  return database.write();
}

int read_dhcp6_snoop_from_flash() {
  const Lock lock;
  switch (database.read(take_in)) {
    case dhcp::binding::FileRead::whole: database.remove(); return 0;
    case dhcp::binding::FileRead::cut_short: return -1;
    case dhcp::binding::FileRead::absent: break;
  }
  return 0;
}

void cycle_write_dhcp6_bind_flash() {
  const Lock lock;
  database.cycle(g_dhcp6_snooping.writeflash_enable, g_dhcp6_snooping.writeflash_interval);
}

int set_dhcp6_snoop_writeflash(int mode, int seconds) {
  const Lock lock;
  database.set_mode(mode, seconds, g_dhcp6_snooping.writeflash_enable, g_dhcp6_snooping.writeflash_interval);
  if (mode == dhcp::binding::write_cyclic) {
    DHCP_LOG_AT(module_frame, log_name, "writeflash,open circle writeflash function,circle time:%d s", seconds);
  }
  if (mode == dhcp::binding::write_never) {
    DHCP_LOG_AT(module_frame, log_name, "writeflash,close circle writeflash function");
  }
  if (mode == dhcp::binding::write_once) {
    DHCP_LOG_AT(module_frame, log_name, "writeflash,immediately write flash");
  }
  return 0;
}

int dhcp6_snoop_set_database_path(const char* path, const char* temporary) {
  const Lock lock;
  return database.place(path, temporary) ? 0 : -1;
}

int dhcp6_snoop_get_database(DhcpSnoopDatabase* out) {
  const Lock lock;
  database.copy(*out);
  return 0;
}
