/// What a show command says: built once, from values, and given as text for people or as JSON for programs. Both forms
/// come from the same cells, so that neither can say what the other does not.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

#include "softswitch/cli/json.h"
#include "softswitch/cli/output.h"

namespace dhcp::softswitch::cli {

/// A value and how people read it.
struct Cell {
  Json value;
  std::string text;

  Cell(std::string word) : value(word), text(std::move(word)) {}
  Cell(std::string_view word) : Cell(std::string(word)) {}
  Cell(const char* word) : Cell(std::string(word)) {}
  template <std::integral T>
  requires(!std::same_as<T, bool>)  // a flag's words depend on what it says
      Cell(T number)
      : value(number), text(std::to_string(number)) {}
  Cell(Json of, std::string words) : value(std::move(of)), text(std::move(words)) {}
};

/// No value: null for programs.
inline Cell none(std::string text = "-") { return {Json(), std::move(text)}; }
/// An empty text is no value.
inline Cell word_or_none(const std::string& text) { return text.empty() ? none() : Cell(text); }

/// A lifetime without end, as on the wire (RFC 8415 section 7.7), for programs, too: it is later than any other.
constexpr uint32_t infinite_time = 0xffffffff;

/// Seconds that the module keeps in a signed number.
inline Cell lifetime(int32_t seconds) { return {static_cast<uint32_t>(seconds), std::to_string(seconds)}; }

/// Seconds since the epoch, in local time for people; 0 = never.
Cell moment(uint32_t time);

enum class Align { left, right };

/// Rows of equal shape: a text table whose columns fit their content, an array of objects. A column without a title is
/// for programs alone, one without a key for people alone.
class Table {
 public:
  struct Column {
    std::string key, title;
    Align align = Align::left;
  };
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
  std::string text() const;
  Json json() const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// Named values: one line each, one object. A row without a label is for programs alone, one without a key for people.
class Settings {
 public:
  explicit Settings(int label_width, std::string indent = "") : width_(label_width), indent_(std::move(indent)) {}
  void row(std::string_view key, std::string_view label, const Cell& cell);
  void set(std::string_view key, Json value) { json_.set(key, std::move(value)); }
  void say(std::string_view text) { text_ += text; }
  const std::string& text() const { return text_; }
  const Json& json() const { return json_; }

 private:
  int width_;
  std::string indent_, text_;
  Json json_ = Json::object();
};

enum class Reader { person, program };

/// The whole of it. Each add() continues the text. What is added with a key becomes a member of the document, which
/// is an object then; without a key it is the document.
class Readout {
 public:
  explicit Readout(Reader reader) : reader_(reader) {}
  Reader reader() const { return reader_; }

  void add(const Table& table, std::string_view key = {});
  void add(const Settings& settings);
  void add(const std::vector<Settings>& list);
  void set(Json document) { json_ = std::move(document); }
  void set(std::string_view key, Json value) { json_.set(key, std::move(value)); }
  void say(std::string_view text) { text_ += text; }

  /// In the reader's form.
  std::string result() const { return reader_ == Reader::program ? json_.text() + "\n" : text_; }
  const std::string& text() const { return text_; }
  const Json& json() const { return json_; }

 private:
  Reader reader_;
  std::string text_;
  Json json_;
};

}  // namespace dhcp::softswitch::cli
