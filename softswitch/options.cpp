#include "softswitch/options.h"

#include <getopt.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>

#include "platform/text.h"

namespace dhcp::softswitch {
namespace {

constexpr uint32_t fewest_ports = 1, most_ports_of_device = 26;  // the module counts groups from interface 27 on

constexpr const char* usage =
    "usage: softswitch --config FILE --socket PATH [--state DIR] [--metrics PATH]\n"
    "                  [--foreground] [--ports N] [--mac ADDRESS] [--log-level N]\n"
    "       softswitch --help | --version | --print-commands\n"
    "  --config FILE    configuration, as `show running-config` prints it\n"
    "  --socket PATH    where switchctl reaches the command line\n"
    "  --state DIR      where bindings are kept over a restart (/var/config)\n"
    "  --metrics PATH   where Prometheus' text form is to be had over HTTP\n"
    "  --foreground     stay, and log to standard error\n"
    "  --ports N        physical ports, 1 to 26 (26)\n"
    "  --mac ADDRESS    the switch's own address (derived from the socket's path)\n"
    "  --log-level N    0 to 7, as in syslog (6)\n"
    "  --help           print this\n"
    "  --version        print the version\n"
    "  --print-commands print the reference of all commands\n";

bool read_number(const char* text, uint32_t low, uint32_t high, uint32_t& out) {
  const char* const end = text + std::strlen(text);
  const auto parsed = std::from_chars(text, end, out);
  return parsed.ec == std::errc() && parsed.ptr == end && out >= low && out <= high;
}

bool take(int option, Options& options) {
  uint32_t number = 0;
  switch (option) {
    case 'c': options.config = optarg; return true;
    case 's': options.socket = optarg; return true;
    case 'd': options.state = optarg; return *optarg != '\0';
    case 'e': options.metrics = optarg; return *optarg != '\0';
    case 'f': options.foreground = true; return true;
    case 'p': return read_number(optarg, fewest_ports, most_ports_of_device, options.ports);
    case 'l':
      if (!read_number(optarg, 0, 7, number)) return false;
      options.log_level = static_cast<int>(number);
      return true;
    case 'm': return onu_str2mac(optarg, options.mac.emplace().data()) == 0 && ((*options.mac)[0] & 1) == 0;
    default: return false;
  }
}

}  // namespace

std::string about(std::string_view word) {
  if (word == "--help") return usage;
  if (word == "--version") return "softswitch " SOFTSWITCH_VERSION "\n";
  return {};
}

std::optional<Options> read_options(int count, char** words) {
  static const option known[] = {{"config", required_argument, nullptr, 'c'},
                                 {"socket", required_argument, nullptr, 's'},
                                 {"state", required_argument, nullptr, 'd'},
                                 {"metrics", required_argument, nullptr, 'e'},
                                 {"foreground", no_argument, nullptr, 'f'},
                                 {"ports", required_argument, nullptr, 'p'},
                                 {"mac", required_argument, nullptr, 'm'},
                                 {"log-level", required_argument, nullptr, 'l'},
                                 {nullptr, 0, nullptr, 0}};
  Options options;
  bool good = true;
  for (int option; (option = getopt_long(count, words, "", known, nullptr)) != -1;)
    if (!take(option, options)) good = false;
  if (good && optind == count && !options.config.empty() && !options.socket.empty()) return options;
  std::fputs(usage, stderr);
  return std::nullopt;
}

std::array<uint8_t, 6> derived_mac(const std::string& socket_path) {
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  uint64_t hash = 0xcbf29ce484222325u;  // FNV-1a
  for (const char c : socket_path + "\n" + host) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001b3u;
  std::array<uint8_t, 6> mac{0x02};
  for (size_t i = 1; i < mac.size(); ++i) mac[i] = static_cast<uint8_t>(hash >> 8 * i);
  return mac;
}

}  // namespace dhcp::softswitch
