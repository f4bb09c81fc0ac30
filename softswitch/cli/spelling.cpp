#include "softswitch/cli/spelling.h"

#include <deque>
#include <mutex>

#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {
namespace {

std::string_view spell(std::string_view text, const FamilyWords& words) {
  std::string out;
  for (const char c : text) {
    if (c == '%') {
      out += words.keyword;
    } else if (c == '$') {
      out += words.protocol;
    } else {
      out += c;
    }
  }
  return kept(std::move(out));
}

}  // namespace

std::string_view kept(std::string text) {
  static std::mutex lock;
  static std::deque<std::string> texts;  // what is in it stays where it is
  const std::lock_guard guard(lock);
  return texts.emplace_back(std::move(text));
}

std::vector<Command> spelt(std::vector<Command> rows, const FamilyWords& words) {
  for (Command& row : rows) {
    for (std::string_view* text : {&row.form, &row.help, &row.example, &row.no_form}) *text = spell(*text, words);
  }
  return rows;
}

}  // namespace dhcp::softswitch::cli
