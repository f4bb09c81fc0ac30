#include "softswitch/cli/settings.h"

#include <mutex>

namespace dhcp::softswitch::cli {
namespace {

struct Settings {
  std::mutex lock;
  std::string hostname = "switch";
  std::string startup_path;
};

Settings& settings() {
  static Settings all;
  return all;
}

}  // namespace

std::string hostname() {
  const std::lock_guard guard(settings().lock);
  return settings().hostname;
}

void set_hostname(const std::string& name) {
  const std::lock_guard guard(settings().lock);
  settings().hostname = name.empty() ? "switch" : name;
}

std::string startup_path() {
  const std::lock_guard guard(settings().lock);
  return settings().startup_path;
}

void set_startup_path(const std::string& path) {
  const std::lock_guard guard(settings().lock);
  settings().startup_path = path;
}

}  // namespace dhcp::softswitch::cli
