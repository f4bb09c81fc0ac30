#include "softswitch/state.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "dhcp/snooping.h"
#include "softswitch/log.h"

namespace dhcp::softswitch {
namespace {

namespace fs = std::filesystem;

constexpr const char* file_name = "dhcp_snoop_table.ini";
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
  const fs::path path = fs::absolute(directory, error) / file_name;
  if (error) return directory + ": " + error.message();
  if (Refusal why = make_directory(path.parent_path())) return why;
  if (dhcp_snoop_set_database_path(path.c_str(), (path.string() + ".new").c_str()) == 0) return std::nullopt;
  return directory + ": the path is too long";
}

void await_saved_bindings() {
  DhcpSnoopDatabase file{};
  dhcp_snoop_get_database(&file);
  if (access(file.path, R_OK) != 0) return;
  const auto end = std::chrono::steady_clock::now() + patience;
  while (file.last_read == 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(look);
    dhcp_snoop_get_database(&file);
  }
}

}  // namespace dhcp::softswitch
