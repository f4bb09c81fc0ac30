/// The files of both snoopings' bindings: any bytes are read without harm, and what was read is written and read again.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "bench/null_device.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "fuzz/target.h"

namespace {

std::string path_of(const char* what) { return "/tmp/fuzz-" + std::to_string(getpid()) + what; }

void put(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = fopen(path.c_str(), "w");
  HOLDS(file != nullptr);
  HOLDS(fwrite(data, 1, size, file) == size);
  HOLDS(fclose(file) == 0);
}

/// One family's calls; those that expect IPv4 snooping's lock get it.
struct Family {
  int (*place)(const char* path, const char* temporary);
  int (*begin)();
  int (*read)();
  int (*write)();
  void (*clear)();
  int (*end)();
  const int32_t& count;
  const DhcpSnoopIndex &by_mac, &by_address;
};

template <int (*call)()>
int locked() {
  dhcp_snooping_mutex_lock_func();
  const int result = call();
  dhcp_snooping_mutex_unlock_func();
  return result;
}

const Family families[] = {
    {dhcp_snoop_set_database_path, init_dhcp_snooping, locked<read_dhcp_snoop_from_flash>,
     locked<write_dhcp_snoop_to_flash>, [] { dhcp_snooping_binding_clear(0, 0, nullptr, 0, 0); }, exit_dhcp_snooping,
     g_dhcp_snooping.bind_count, g_dhcp_snooping.mac_index, g_dhcp_snooping.ip_index},
    {dhcp6_snoop_set_database_path, init_dhcp6_snooping, read_dhcp6_snoop_from_flash, write_dhcp6_snoop_to_flash,
     [] { dhcp6_snooping_binding_clear(0, nullptr, nullptr, 0, 0); }, exit_dhcp6_snooping, g_dhcp6_snooping.bind_count,
     g_dhcp6_snooping.mac_index, g_dhcp6_snooping.ip_index},
};

/// Every list and count agrees; deletions walk them all.
void check_and_clear(const Family& family) {
  int32_t by_mac = 0;
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    by_mac += family.by_mac.count[bucket];
    HOLDS(family.by_mac.busy[bucket] == 0 && family.by_address.busy[bucket] == 0);
  }
  HOLDS(by_mac == family.count);
  family.clear();
  HOLDS(family.count == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = path_of("-table"), temporary = path_of("-new");
  dhcp::bench::null_device = {};
  dhcp::bench::use_null_device();
  for (const Family& family : families) {
    family.place(path.c_str(), temporary.c_str());
    put(path, data, size);
    family.begin();
    HOLDS(family.read() == 0);
    const int32_t loaded = family.count;
    HOLDS(family.write() == 0);
    family.begin();
    HOLDS(family.read() == 0);
    HOLDS(family.count == loaded || loaded == 0);
    check_and_clear(family);
    family.end();
  }
  unlink(path.c_str());
  unlink(temporary.c_str());
  return 0;
}
