#include "softswitch/cli/readout.h"

#include <algorithm>
#include <ctime>

namespace dhcp::softswitch::cli {

Cell moment(uint32_t time) {
  if (time == 0) return none("never");
  const auto seconds = static_cast<time_t>(time);
  tm local{};
  char text[32] = "";
  if (localtime_r(&seconds, &local) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return {time, text};
}

std::string Table::text() const {
  std::vector<size_t> widths;
  for (const Column& column : columns_) widths.push_back(column.title.size());
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].text.size());
  }
  std::string out;
  const auto add_line = [&](auto text_of) {
    std::string line;
    for (size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i].title.empty()) continue;
      const std::string text = text_of(i);
      const std::string gap(widths[i] - text.size(), ' ');
      line += (line.empty() ? "" : "  ") + (columns_[i].align == Align::right ? gap + text : text + gap);
    }
    out += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  };
  add_line([&](size_t i) { return columns_[i].title; });
  add_line([&](size_t i) { return std::string(widths[i], '-'); });
  for (const auto& row : rows_) add_line([&](size_t i) { return row[i].text; });
  return out;
}

Json Table::json() const {
  Json rows = Json::array();
  for (const auto& row : rows_) {
    Json object = Json::object();
    for (size_t i = 0; i < columns_.size(); ++i) {
      if (!columns_[i].key.empty()) object.set(columns_[i].key, row[i].value);
    }
    rows.push_back(std::move(object));
  }
  return rows;
}

void Settings::row(std::string_view key, std::string_view label, const Cell& cell) {
  if (!key.empty()) json_.set(key, cell.value);
  if (!label.empty()) text_ += indent_ + format("%-*s ", width_, std::string(label).c_str()) + cell.text + "\n";
}

void Readout::add(const Table& table, std::string_view key) {
  if (reader_ == Reader::person) {
    text_ += table.text();
  } else if (key.empty()) {
    json_ = table.json();
  } else {
    json_.set(key, table.json());
  }
}

void Readout::add(const Settings& settings) {
  text_ += settings.text();
  json_.take_members(settings.json());
}

void Readout::add(const std::vector<Settings>& list) {
  json_ = Json::array();
  for (const Settings& item : list) {
    text_ += item.text();
    json_.push_back(item.json());
  }
}

}  // namespace dhcp::softswitch::cli
