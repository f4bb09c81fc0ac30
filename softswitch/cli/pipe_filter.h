/// What stands behind the "|" of a show command: include, exclude, begin, count.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "softswitch/cli/match.h"

namespace dhcp::softswitch::cli {

/// A show command and its filter; the filter is empty when there is none.
struct PipedLine {
  std::string_view command;
  std::string_view filter;  // behind the "|"
  size_t filter_column = 0;
  bool piped = false;
};

/// Only lines that begin with "show" have a filter: elsewhere a "|" is text like any other.
PipedLine split_pipe(std::string_view line);

struct Filter {
  enum class Kind { none, include, exclude, begin, count } kind = Kind::none;
  std::string pattern;  // a plain text, not a regular expression
};

/// On a fault the column counts from the beginning of the whole line.
struct FilterFault {
  std::string reason;
  size_t column;
};
std::optional<FilterFault> parse_filter(const PipedLine& line, Filter& out);

std::string apply_filter(const Filter& filter, const std::string& text);

std::vector<Choice> filter_choices(std::string_view typed);

}  // namespace dhcp::softswitch::cli
