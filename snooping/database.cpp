#include "snooping/database.h"

#include <array>
#include <cstring>

#include "base/log.h"
#include "binding/clocks.h"
#include "binding/file.h"
#include "snooping/bindings.h"

namespace dhcp::snooping {

namespace {

constexpr const char* log_name = "DHCPS_writeflash";
constexpr const char* default_path = "/var/config/dhcp_snoop_table.ini";
constexpr const char* default_temporary = "/var/tmp/dhcp_snoop_table.ini";

using Path = std::array<char, DHCP_SNOOP_PATH_SIZE>;

/// Both empty = the device's own places.
struct Places {
  Path path, temporary;
};

Places places;
binding::File<BindingTable, BindingRules> file;
binding::CycleClock cycle;
bool changed = false;  // bindings have entered since the last write

bool placed() { return places.path[0] != '\0'; }

binding::FilePaths paths() {
  if (!placed()) return {default_path, default_temporary};
  return {places.path.data(), places.temporary.data()};
}

bool set_path(Path& path, const char* text) {
  const size_t length = strlen(text);
  if (length >= path.size()) return false;
  memcpy(path.data(), text, length + 1);
  return true;
}

/// A binding from the file: whatever holds exactly its place goes, and no limit of the table holds.
void take_in(MacBindStruct* entry) {
  dhcp_snoop_binds_clear_ip_mac_vlan_intf(entry->ip, entry->mac, entry->vlan, entry->intf);
  bindings.add(*entry);
  note_lease(entry->lease);
  bindings.enter_address(*entry);
}

int write_now() {
  changed = false;
  return file.write(bindings, paths());
}

}  // namespace

int BindingRules::print(FILE* stream, const Entry& entry) {
  const uint8_t* mac = entry.mac;
  return fprintf(stream, "%02x:%02x:%02x:%02x:%02x:%02x,%d,%d,%d,%d,%u\n", mac[0], mac[1], mac[2], mac[3], mac[4],
                 mac[5], entry.lease, entry.vlan, static_cast<int>(entry.intf), entry.is_static, entry.ip);
}

bool BindingRules::parse(const char* line, Entry& entry) {
  std::array<unsigned, 6> mac{};
  int lease = 0, vlan = 0, intf = 0, is_static = 0;
  unsigned ip = 0;
  const int fields = sscanf(line, "%x:%x:%x:%x:%x:%x,%d,%d,%d,%d,%u\n", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4],
                            &mac[5], &lease, &vlan, &intf, &is_static, &ip);
  for (size_t i = 0; i < mac.size(); ++i) entry.mac[i] = static_cast<uint8_t>(mac[i]);
  entry.lease = lease;
  entry.vlan = entry.new_vlan = vlan;
  entry.intf = entry.new_intf = static_cast<uint32_t>(intf);
  entry.is_static = is_static;
  entry.ip = ip;
  return fields == 11;
}

void restart_database() {
  file.forget();
  cycle.reset();
  changed = false;
}

void set_bind_changed() { changed = true; }

void load_bindings(FILE* stream) { file.read(stream, take_in); }

}  // namespace dhcp::snooping

using namespace dhcp::snooping;

int write_dhcp_snoop_to_flash() { return file.write(bindings, paths()); }

int read_dhcp_snoop_from_flash() {
  file.read(paths().path, take_in);
  return 0;
}

void cycle_write_bind_flash() {
  if (g_dhcp_snooping.writeflash_enable == 0) return;
  if (cycle.due(g_dhcp_snooping.writeflash_interval) && changed) write_now();
}

int set_dhcp_snoop_writeflash(int mode, int interval_s) {
  enum { off = 0, cyclic = 1, now = 2 };
  const SnoopingLock lock;
  if (mode == cyclic) {
    g_dhcp_snooping.writeflash_enable = 1;
    g_dhcp_snooping.writeflash_interval = interval_s;
    DHCP_LOG_AT(dhcp::base::module_service, log_name, "open circle writeflash function,circle time:%d s", interval_s);
  } else if (mode == off) {
    remove(paths().path);
    g_dhcp_snooping.writeflash_enable = g_dhcp_snooping.writeflash_interval = 0;
    DHCP_LOG_AT(dhcp::base::module_service, log_name, "close circle writeflash function");
  } else if (mode == now) {
    write_now();
    DHCP_LOG_AT(dhcp::base::module_service, log_name, "immediately write flash");
  }
  return 0;
}

int dhcp_snoop_set_database_path(const char* path, const char* temporary) {
  Places chosen{};
  if (path != nullptr && temporary != nullptr) {
    if (!set_path(chosen.path, path) || !set_path(chosen.temporary, temporary)) return -1;
  }
  const SnoopingLock lock;
  places = chosen;
  return 0;
}

int dhcp_snoop_get_database(DhcpSnoopDatabase* out) {
  const SnoopingLock lock;
  const dhcp::binding::FileHistory& history = file.history();
  *out = {};
  out->last_write = history.last_write;
  out->last_read = history.last_read;
  out->written = history.written;
  out->loaded = history.loaded;
  out->write_failures = history.write_failures;
  out->skipped = history.skipped;
  memcpy(out->path, paths().path, strlen(paths().path) + 1);
  return 0;
}
