#include "softswitch/cli/words.h"

#include <strings.h>

namespace dhcp::softswitch::cli {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

std::string_view trim_end(std::string_view line) {
  while (!line.empty() && (is_blank(line.back()) || line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  return line;
}

std::vector<Word> split_words(std::string_view line) {
  line = trim_end(line);
  std::vector<Word> words;
  for (size_t at = 0; at < line.size();) {
    if (is_blank(line[at])) {
      ++at;
      continue;
    }
    size_t end = at;
    while (end < line.size() && !is_blank(line[end])) ++end;
    words.push_back({line.substr(at, end - at), at});
    at = end;
  }
  return words;
}

bool same_word(std::string_view a, std::string_view b) { return a.size() == b.size() && begins_with(a, b); }

bool begins_with(std::string_view word, std::string_view prefix) {
  if (prefix.empty()) return true;  // its pointer may be null
  return prefix.size() <= word.size() && strncasecmp(word.data(), prefix.data(), prefix.size()) == 0;
}

}  // namespace dhcp::softswitch::cli
