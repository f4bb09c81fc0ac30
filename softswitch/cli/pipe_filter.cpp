#include "softswitch/cli/pipe_filter.h"

namespace dhcp::softswitch::cli {
namespace {

struct FilterWord {
  std::string_view word;
  Filter::Kind kind;
  std::string_view help;
};
constexpr FilterWord filter_words[] = {
    {"begin", Filter::Kind::begin, "Show from the first line that has the text on"},
    {"count", Filter::Kind::count, "Count the lines, or those that have the text"},
    {"exclude", Filter::Kind::exclude, "Show the lines that do not have the text"},
    {"include", Filter::Kind::include, "Show the lines that have the text"},
};

const FilterWord* find_filter(std::string_view typed) {
  for (const FilterWord& filter : filter_words) {
    if (begins_with(filter.word, typed)) return &filter;
  }
  return nullptr;
}

/// Calls `each(line)` for every line of `text`, line end left out.
template <class Each>
void for_each_line(const std::string& text, Each each) {
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    each(std::string_view(text).substr(at, end - at));
    at = end + 1;
  }
}

}  // namespace

PipedLine split_pipe(std::string_view line) {
  const auto words = split_words(line);
  constexpr size_t shortest = 2;  // "sh"
  const bool show = !words.empty() && words[0].text.size() >= shortest && begins_with("show", words[0].text);
  const size_t bar = show ? line.find('|') : std::string_view::npos;
  if (bar == std::string_view::npos) return {line, {}, 0, false};
  return {line.substr(0, bar), trim_end(line).substr(bar + 1), bar + 1, true};
}

std::optional<FilterFault> parse_filter(const PipedLine& line, Filter& out) {
  if (!line.piped) return {};
  const auto words = split_words(line.filter);
  if (words.empty()) {
    return FilterFault{"the filter is missing: include, exclude, begin or count",
                       line.filter_column + line.filter.size() + 1};
  }
  const FilterWord* filter = find_filter(words[0].text);
  if (filter == nullptr) {
    return FilterFault{"\"" + std::string(words[0].text) + "\" is not a filter: include, exclude, begin or count",
                       line.filter_column + words[0].column};
  }
  if (words.size() > 1) out.pattern = line.filter.substr(words[1].column);
  if (out.pattern.empty() && filter->kind != Filter::Kind::count) {
    return FilterFault{"the text to look for is missing", line.filter_column + line.filter.size() + 1};
  }
  out.kind = filter->kind;
  return {};
}

std::string apply_filter(const Filter& filter, const std::string& text) {
  if (filter.kind == Filter::Kind::none) return text;
  std::string out;
  size_t count = 0;
  bool begun = false;
  for_each_line(text, [&](std::string_view line) {
    const bool found = line.find(filter.pattern) != std::string_view::npos;
    begun = begun || found;
    count += found ? 1 : 0;
    const bool shown = filter.kind == Filter::Kind::include   ? found
                       : filter.kind == Filter::Kind::exclude ? !found
                                                              : filter.kind == Filter::Kind::begin && begun;
    if (shown) out += std::string(line) + "\n";
  });
  return filter.kind == Filter::Kind::count ? std::to_string(count) + " lines\n" : out;
}

std::vector<Choice> filter_choices(std::string_view typed) {
  const auto words = split_words(typed);
  const bool in_word = !words.empty() && words[0].column + words[0].text.size() == typed.size();
  if (!words.empty() && !in_word) return {{"LINE", "text to look for", false}};
  std::vector<Choice> list;
  for (const FilterWord& filter : filter_words) {
    if (words.empty() || begins_with(filter.word, words[0].text)) {
      list.push_back({std::string(filter.word), std::string(filter.help), true});
    }
  }
  return list;
}

}  // namespace dhcp::softswitch::cli
