#include "softswitch/cli/settings_text.h"

#include <algorithm>

#include "softswitch/cli/match.h"

namespace dhcp::softswitch::cli {
namespace {

std::string_view behind_slash(std::string_view text) { return text.substr(text.find('/') + 1); }

bool same_value(const Value& a, const Value& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == Kind::word || a.kind == Kind::text) return a.text == b.text;
  if (a.kind == Kind::prefix6 && behind_slash(a.text) != behind_slash(b.text)) return false;
  return a.number == b.number && a.mac == b.mac && a.ip6 == b.ip6 && a.bytes == b.bytes && a.vlans == b.vlans;
}

bool same_values(std::span<const Value> a, std::span<const Value> b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), same_value);
}

bool same_block(const Setting& a, const Setting& b) {
  return a.opener_row == b.opener_row && same_values(a.opener_args, b.opener_args);
}

/// How many values the `no` form asks for: they say what the setting is about, the others what it is to be.
size_t naming_values(const Command& command) {
  const auto words = split_words(command.no_form);
  const auto optional = std::find_if(words.begin(), words.end(), [](const Word& w) { return w.text.front() == '['; });
  return static_cast<size_t>(
      std::count_if(words.begin(), optional, [](const Word& w) { return find_placeholder(w.text) != nullptr; }));
}

const Block* opened_by(const Command& command) {
  const auto block =
      std::find_if(std::begin(blocks), std::end(blocks), [&](const Block& b) { return b.opener == command.form; });
  return block != std::end(blocks) ? block : nullptr;
}

/// The text, line by line, with the block that is open.
class TextReader {
 public:
  TextReader(std::vector<Setting>& out, VlanLists lists) : out_(out), lists_(lists) {}

  /// False = the configuration ends here.
  bool take(std::string_view line, Outcome& fault) {
    const size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string_view::npos || line[begin] == '!') return true;
    line = trim_end(line.substr(begin));
    if (same_word(line, "end")) return false;
    if (same_word(line, "exit")) return leave();
    const Match match = match_here(line);
    if (match.command == nullptr) return fault = Fault{match.reason}, false;
    if ((match.command->modes & in_configuration) == in_configuration) {
      return fault = Fault{"this is no setting"}, false;
    }
    add(line, match);
    return true;
  }

 private:
  bool leave() {
    if (mode_ == Mode::configure) return false;
    mode_ = Mode::configure;
    return true;
  }

  /// As the command line does it: what the block does not know may be a line of the configuration mode.
  Match match_here(std::string_view line) {
    Match here = match_line(line, mode_);
    if (here.command != nullptr || mode_ == Mode::configure) return here;
    Match above = match_line(line, Mode::configure);
    if (above.command == nullptr) return above.column > here.column ? std::move(above) : std::move(here);
    mode_ = Mode::configure;
    return above;
  }

  void add(std::string_view line, const Match& match) {
    Setting setting{std::string(line), match.command, match.undo, match.args, mode_, {}, nullptr, {}};
    if (mode_ != Mode::configure) {
      setting.opener = opener_.line;
      setting.opener_row = opener_.command;
      setting.opener_args = opener_.args;
    }
    const Block* opened = match.undo ? nullptr : opened_by(*match.command);
    if (opened != nullptr) {
      mode_ = opened->mode;
      opener_ = setting;
    }
    if (lists_ == VlanLists::whole) {
      out_.push_back(std::move(setting));
    } else {
      add_apart(setting, match.arg_columns);
    }
  }

  void add_apart(const Setting& setting, const std::vector<size_t>& columns) {
    const size_t naming = setting.undo ? 0 : naming_values(*setting.command);
    for (size_t i = 0; i < naming; ++i) {
      const Value& list = setting.args[i];
      if (list.kind != Kind::vlan_list || list.vlans.empty()) continue;
      for (const uint16_t vlan : list.vlans) {
        Setting one = setting;
        one.line.replace(columns[i], list.text.size(), std::to_string(vlan));
        one.args[i].text = std::to_string(vlan);
        one.args[i].vlans = {vlan};
        out_.push_back(std::move(one));
      }
      return;
    }
    out_.push_back(setting);
  }

  std::vector<Setting>& out_;
  VlanLists lists_;
  Mode mode_ = Mode::configure;
  Setting opener_;
};

}  // namespace

bool same_setting(const Setting& a, const Setting& b) {
  return a.command == b.command && a.undo == b.undo && same_values(a.args, b.args) && same_block(a, b);
}

bool same_thing(const Setting& a, const Setting& b) {
  if (a.command != b.command || a.undo || b.undo || a.command->no_form.empty() || !same_block(a, b)) return false;
  const size_t naming = naming_values(*a.command);
  return same_values(std::span(a.args).first(naming), std::span(b.args).first(naming));
}

bool opens_block_of(const Setting& opener, const Setting& setting) {
  return setting.opener_row == opener.command && !opener.undo && same_values(setting.opener_args, opener.args);
}

std::string taking_back(const Setting& setting) {
  constexpr std::string_view no = "no ";
  if (begins_with(setting.line, no)) return setting.line.substr(no.size());
  std::string line = std::string(no) + setting.line;
  return match_line(line, setting.mode).command != nullptr ? line : "";
}

bool opens_block(const Setting& setting) { return !setting.undo && opened_by(*setting.command) != nullptr; }

Outcome read_settings(const std::string& text, std::vector<Setting>& out, VlanLists lists) {
  TextReader reader(out, lists);
  Outcome fault;
  size_t number = 0;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    ++number;
    if (!reader.take(std::string_view(text).substr(at, end - at), fault)) break;
    at = end + 1;
  }
  if (fault) fault->reason = std::to_string(number) + ": " + fault->reason;
  return fault;
}

}  // namespace dhcp::softswitch::cli
