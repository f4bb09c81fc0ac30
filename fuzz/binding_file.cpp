/// The file of snooping's bindings: any bytes are read without harm, and what was read is written and read again.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "bench/null_device.h"
#include "dhcp/snooping.h"
#include "fuzz/target.h"

namespace {

std::string path_of(const char* what) { return "/tmp/fuzz-" + std::to_string(getpid()) + what; }

void put(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = fopen(path.c_str(), "w");
  HOLDS(file != nullptr);
  HOLDS(fwrite(data, 1, size, file) == size);
  HOLDS(fclose(file) == 0);
}

void read_anew() {
  init_dhcp_snooping();
  dhcp_snooping_mutex_lock_func();
  HOLDS(read_dhcp_snoop_from_flash() == 0);
  dhcp_snooping_mutex_unlock_func();
}

int write_now() {
  dhcp_snooping_mutex_lock_func();
  const int result = write_dhcp_snoop_to_flash();
  dhcp_snooping_mutex_unlock_func();
  return result;
}

/// Every list and count agrees; deletions walk them all.
void check_and_clear() {
  int32_t by_mac = 0;
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    by_mac += g_dhcp_snooping.mac_index.count[bucket];
    HOLDS(g_dhcp_snooping.mac_index.busy[bucket] == 0 && g_dhcp_snooping.ip_index.busy[bucket] == 0);
  }
  HOLDS(by_mac == g_dhcp_snooping.bind_count);
  dhcp_snooping_binding_clear(0, 0, nullptr, 0, 0);
  HOLDS(g_dhcp_snooping.bind_count == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = path_of("-table"), temporary = path_of("-new");
  dhcp::bench::null_device = {};
  dhcp::bench::use_null_device();
  dhcp_snoop_set_database_path(path.c_str(), temporary.c_str());
  put(path, data, size);
  read_anew();
  const int32_t loaded = g_dhcp_snooping.bind_count;
  HOLDS(write_now() == 0);
  read_anew();
  HOLDS(g_dhcp_snooping.bind_count == loaded || loaded == 0);
  check_and_clear();
  exit_dhcp_snooping();
  unlink(path.c_str());
  unlink(temporary.c_str());
  return 0;
}
