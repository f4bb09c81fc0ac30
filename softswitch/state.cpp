#include "softswitch/state.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "softswitch/log.h"

namespace dhcp::softswitch {
namespace {

namespace fs = std::filesystem;

struct BindingFile {
  const char* name;
  int (*set_path)(const char* path, const char* temporary);
  int (*get)(DhcpSnoopDatabase* out);
  int (*save)(int mode, int interval_s);
};
constexpr BindingFile files[] = {
    {"dhcp_snoop_table.ini", dhcp_snoop_set_database_path, dhcp_snoop_get_database, set_dhcp_snoop_writeflash},
    {"dhcp6_snoop_table.ini", dhcp6_snoop_set_database_path, dhcp6_snoop_get_database, set_dhcp6_snoop_writeflash},
};
constexpr int save_once = 2;
constexpr auto patience = std::chrono::seconds(3);
constexpr auto look = std::chrono::milliseconds(10);

Refusal make_directory(const fs::path& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) return directory.string() + ": " + error.message();
  if (access(directory.c_str(), W_OK) != 0) return directory.string() + " cannot be written";
  return std::nullopt;
}

void make_own_places() {
  for (const char* directory : {"/var/config", "/var/tmp"})
    if (const Refusal why = make_directory(directory)) log_line(4, "bindings cannot be saved: %s", why->c_str());
}

}  // namespace

Refusal keep_state_in(const std::string& directory) {
  if (directory.empty()) {
    make_own_places();
    return std::nullopt;
  }
  std::error_code error;
  const fs::path place = fs::absolute(directory, error);
  if (error) return directory + ": " + error.message();
  if (Refusal why = make_directory(place)) return why;
  for (const BindingFile& file : files) {
    const std::string path = (place / file.name).string();
    if (file.set_path(path.c_str(), (path + ".new").c_str()) != 0) return directory + ": the path is too long";
  }
  return std::nullopt;
}

void await_saved_bindings() {
  const auto end = std::chrono::steady_clock::now() + patience;
  for (const BindingFile& file : files) {
    DhcpSnoopDatabase state{};
    file.get(&state);
    if (access(state.path, R_OK) != 0) continue;
    while (state.last_read == 0 && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(look);
      file.get(&state);
    }
  }
}

void save_bindings() {
  for (const BindingFile& file : files) {
    DhcpSnoopDatabase before{}, after{};
    file.get(&before);
    file.save(save_once, 0);
    file.get(&after);
    if (after.write_failures != before.write_failures) log_line(3, "bindings cannot be saved to %s", after.path);
  }
}

}  // namespace dhcp::softswitch
