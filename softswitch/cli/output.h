/// What a command says: text, and tables whose columns fit their content.
#pragma once

#include <string>
#include <vector>

namespace dhcp::softswitch::cli {

std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

enum class Align { left, right };

/// A table built from plain values; laid out only when it is shown.
class TextTable {
 public:
  struct Column {
    std::string title;
    Align align = Align::left;
  };
  explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}
  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  std::string text() const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace dhcp::softswitch::cli
