#include "softswitch/cli/output.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace dhcp::softswitch::cli {

std::string format(const char* text, ...) {
  va_list args, again;
  va_start(args, text);
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, text, args);
  std::string out(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  std::vsnprintf(out.data(), out.size() + 1, text, again);
  va_end(again);
  va_end(args);
  return out;
}

std::string TextTable::text() const {
  std::vector<size_t> widths;
  for (const Column& column : columns_) widths.push_back(column.title.size());
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string out;
  const auto add_line = [&](auto cell_of) {
    std::string line;
    for (size_t i = 0; i < columns_.size(); ++i) {
      const std::string cell = cell_of(i);
      const std::string gap(widths[i] - cell.size(), ' ');
      line += (i == 0 ? "" : "  ") + (columns_[i].align == Align::right ? gap + cell : cell + gap);
    }
    out += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  };
  add_line([&](size_t i) { return columns_[i].title; });
  add_line([&](size_t i) { return std::string(widths[i], '-'); });
  for (const auto& row : rows_) add_line([&](size_t i) { return row[i]; });
  return out;
}

}  // namespace dhcp::softswitch::cli
