/// The configurations: in force, and saved.
#include "softswitch/cli/readout.h"
#include "softswitch/cli/running_config.h"
#include "softswitch/cli/settings.h"
#include "softswitch/cli/settings_text.h"

namespace dhcp::softswitch::cli {
namespace {

/// Settings by the line that opens their block; null = those outside of blocks.
Json blocks_of(const std::vector<Setting>& settings) {
  Json blocks = Json::array(), lines;
  std::string opener;
  const auto finish_block = [&] {
    if (!lines.is_null())
      blocks.push_back(Json::object({{"block", opener.empty() ? Json() : Json(opener)}, {"lines", lines}}));
  };
  for (const Setting& setting : settings) {
    const bool opens = opens_block(setting);
    if (opens || lines.is_null() || setting.opener != opener) {
      finish_block();
      opener = opens ? setting.line : setting.opener;
      lines = Json::array();
    }
    if (!opens) lines.push_back(setting.line);
  }
  finish_block();
  return blocks;
}

Outcome show(Readout& out, const std::string& text) {
  out.say(text);
  if (out.reader() == Reader::person) return {};
  std::vector<Setting> settings;
  if (auto bad = read_settings(text, settings, VlanLists::whole)) return bad;
  out.set(blocks_of(settings));
  return {};
}

Outcome show_running(Readout& out, const Args&) { return show(out, running_config()); }

Outcome show_startup(Readout& out, const Args&) {
  const std::string path = startup_path();
  const auto text = path.empty() ? std::nullopt : read_file(path);
  if (!text) return Fault{"nothing has been saved yet"};
  return show(out, *text);
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
