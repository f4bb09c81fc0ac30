#include "snooping/database.h"

#include <algorithm>
#include <cstdio>

#include "base/log.h"
#include "binding/database.h"
#include "binding/line.h"
#include "snooping/bindings.h"

namespace dhcp::snooping {

namespace {

constexpr const char* database_log = "DHCPS_writeflash";

binding::Database<BindingRules> database(bindings,
                                         {"/var/config/dhcp_snoop_table.ini", "/var/tmp/dhcp_snoop_table.ini"});

/// A binding that goes takes the verify entry of its MAC along; one that only makes room for its saved copy does not.
void keep_verify_entry(const uint8_t* mac) {
  bindings.each_in_bucket(binding::mac_bucket(mac), [mac](MacBindStruct& binding) {
    if (std::equal(mac, mac + sizeof binding.mac, binding.mac)) binding.verify = nullptr;
  });
}

/// A binding from the file: whatever holds exactly its place goes, and no limit of the table holds.
void take_in(MacBindStruct* entry) {
  keep_verify_entry(entry->mac);
  dhcp_snoop_binds_clear_ip_mac_vlan_intf(entry->ip, entry->mac, entry->vlan, entry->intf);
  bindings.add(*entry);
  binding::note_lease(g_dhcp_snooping.min_lease, entry->lease);
  bindings.enter_address(*entry);
}

}  // namespace

int BindingRules::print(FILE* stream, const Entry& entry) {
  char ip[16];
  snprintf(ip, sizeof ip, "%u", entry.ip);
  return binding::print_line(stream, entry, ip);
}

bool BindingRules::parse(const char* line, Entry& entry) {
  const char* address = binding::parse_line(line, entry);
  return address != nullptr && sscanf(address, "%u", &entry.ip) == 1;
}

void restart_database() { database.restart(); }

void set_bind_changed() { database.set_changed(); }

void load_bindings(FILE* stream) { database.read(stream, take_in); }

}  // namespace dhcp::snooping

using namespace dhcp::snooping;

int write_dhcp_snoop_to_flash() { return database.write(); }

int read_dhcp_snoop_from_flash() { return database.read(take_in) == dhcp::binding::FileRead::cut_short ? -1 : 0; }

void cycle_write_bind_flash() {
  database.cycle(g_dhcp_snooping.writeflash_enable, g_dhcp_snooping.writeflash_interval);
}

int set_dhcp_snoop_writeflash(int mode, int interval_s) {
  const SnoopingLock lock;
  database.set_mode(mode, interval_s, g_dhcp_snooping.writeflash_enable, g_dhcp_snooping.writeflash_interval);
  switch (mode) {
    case dhcp::binding::write_cyclic:
      DHCP_LOG_AT(dhcp::base::module_service, database_log, "open circle writeflash function,circle time:%d s",
                  interval_s);
      break;
    case dhcp::binding::write_never:
      DHCP_LOG_AT(dhcp::base::module_service, database_log, "close circle writeflash function");
      break;
    case dhcp::binding::write_once:
      DHCP_LOG_AT(dhcp::base::module_service, database_log, "immediately write flash");
      break;
    default: break;
  }
  return 0;
}

int dhcp_snoop_set_database_path(const char* path, const char* temporary) {
  const SnoopingLock lock;
  return database.place(path, temporary) ? 0 : -1;
}

int dhcp_snoop_get_database(DhcpSnoopDatabase* out) {
  const SnoopingLock lock;
  database.copy(*out);
  return 0;
}
