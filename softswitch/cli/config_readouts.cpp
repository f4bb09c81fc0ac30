/// The configurations: in force, and saved.
#include "softswitch/cli/readout.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/settings.h"
#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {
namespace {

bool opens_block(std::string_view line) {
  return line.starts_with("interface ") || line.starts_with("ip dhcp pool ") || line.starts_with("ipv6 dhcp pool ");
}
bool ends_block(std::string_view line) { return line.starts_with('!') || line == "exit" || line == "end"; }

/// Lines by the line that opens their block (null = none), without marks and ends of blocks.
Json blocks_of(std::string_view text) {
  Json blocks = Json::array(), opener, lines;
  const auto finish_block = [&] {
    if (!lines.is_null()) blocks.push_back(Json::object({{"block", std::exchange(opener, Json())}, {"lines", lines}}));
    lines = Json();
  };
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = trim_end(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    const bool opens = opens_block(line);
    if (opens || ends_block(line)) finish_block();
    if (opens) {
      opener = line;
      lines = Json::array();
    } else if (!line.empty() && !ends_block(line)) {
      lines.push_back(line);
    }
  }
  finish_block();
  return blocks;
}

void show(Readout& out, const std::string& text) {
  out.say(text);
  out.set(blocks_of(text));
}

Outcome show_running(Readout& out, const Args&) {
  show(out, running_config());
  return {};
}

Outcome show_startup(Readout& out, const Args&) {
  const std::string path = startup_path();
  const auto text = path.empty() ? std::nullopt : read_file(path);
  if (!text) return Fault{"nothing has been saved yet"};
  show(out, *text);
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show running-config", "Configuration that is in force", show_running,
     "show running-config | begin interface"},
    {exec, "show startup-config", "Configuration that was saved", show_startup, "show startup-config"},
};

}  // namespace

std::span<const Command> config_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
