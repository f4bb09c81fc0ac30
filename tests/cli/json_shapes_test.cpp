/// The keys and types of every readout's JSON: those that docs/json.md tells.
#include <fstream>
#include <set>
#include <sstream>

#include "softswitch/cli/running_config.h"
#include "tests/cli/json_bench.h"

namespace dhcp::softswitch::cli {
namespace {

using json = nlohmann::ordered_json;

/// What all values of one place have in common.
class Shape {
 public:
  void take(const json& value) {
    if (value.is_object()) {
      object_ = true;
      for (const auto& [key, member] : value.items()) of(key).take(member);
    } else if (value.is_array()) {
      if (element_.empty()) element_.emplace_back();
      for (const json& element : value) element_[0].take(element);
    } else {
      types_.insert(value.is_null() ? "null" : value.is_boolean() ? "flag" : value.type_name());
    }
  }
  /// "[{vlan: number, port: string or null}]"; "?" = there was no value at all.
  std::string text() const {
    std::vector<std::string> kinds;
    if (object_) kinds.push_back("{" + members() + "}");
    if (!element_.empty()) kinds.push_back("[" + element_[0].text() + "]");
    for (const char* type : {"string", "number", "flag"})
      if (types_.contains(type)) kinds.emplace_back(type);
    std::string all = kinds.empty() ? "?" : "";
    for (const std::string& kind : kinds) all += (all.empty() ? "" : " or ") + kind;
    return all + (types_.contains("null") ? " or null" : "");
  }

 private:
  Shape& of(const std::string& key) {
    for (auto& [name, shape] : members_)
      if (name == key) return shape;
    return members_.emplace_back(key, Shape()).second;
  }
  std::string members() const {
    std::string all;
    for (const auto& [key, shape] : members_) all += (all.empty() ? "" : ", ") + key + ": " + shape.text();
    return all;
  }

  bool object_ = false;
  std::set<std::string> types_;
  std::vector<Shape> element_;  // of an array
  std::vector<std::pair<std::string, Shape>> members_;
};

/// Broken before the 100th column, where a member or an element ends.
std::string broken(const std::string& line) {
  constexpr size_t width = 100;
  std::string out;
  for (size_t at = 0; at < line.size();) {
    size_t end = line.size();
    if (end - at > width) end = line.rfind(", ", at + width) + 2;
    out += "    " + std::string(trim_end(line.substr(at, end - at))) + "\n";
    at = end;
  }
  return out;
}

constexpr std::string_view everything = "show tech-support";

class JsonShapes : public JsonBench {
 protected:
  /// What a readout's example asks for, without its filter.
  static std::string asked(const Command& command) {
    return std::string(trim_end(command.example.substr(0, command.example.find('|'))));
  }
  /// Calls `use(command)` for every readout of the command table.
  template <class Use>
  static void each_readout(Use use) {
    for (const Command& command : commands()) {
      EXPECT_EQ(command.form.starts_with("show "), command.show != nullptr) << command.form;
      if (command.show != nullptr) use(command);
    }
  }
};

TEST_F(JsonShapes, AreThoseOfTheCommittedPage) {
  std::vector<std::pair<const Command*, Shape>> shapes;
  type({"configure", "ip dhcp relay route-vlan 2 10", "ip dhcp pool 1", "end", "write memory"});
  each_readout([&](const Command& command) {
    if (command.form != everything) shapes.emplace_back(&command, Shape()).second.take(ask(asked(command)));
  });
  fill();
  std::vector<std::pair<std::string, std::string>> page;  // shape, and the commands that have it
  for (auto& [command, shape] : shapes) {
    shape.take(ask(asked(*command)));
    const std::string text = shape.text();
    EXPECT_EQ(text.find('?'), std::string::npos) << command->form << " says nothing: " << text;
    auto known = std::find_if(page.begin(), page.end(), [&](const auto& entry) { return entry.first == text; });
    if (known == page.end()) known = page.insert(page.end(), {text, ""});
    known->second += std::string(command->form) + "\n";
  }
  std::string made;
  for (const auto& [shape, forms] : page) made += forms + broken(shape) + "\n";
  const std::string committed = read_file(std::string(SOURCE_DIRECTORY) + "/docs/json.md").value_or("");
  const std::string anew = testing::TempDir() + "json_shapes";
  if (committed.find("```\n" + made + "```\n") != std::string::npos) return;
  std::ofstream(anew) << made;
  ADD_FAILURE() << "the shapes in docs/json.md are others; they are now those of " << anew;
}

TEST_F(JsonShapes, KeysAreInLowerCaseWithUnderscores) {
  fill();
  const std::function<void(const json&)> look = [&](const json& value) {
    for (const auto& [key, member] : value.items()) {
      if (value.is_object()) {
        EXPECT_THAT(key, testing::MatchesRegex("[a-z][a-z0-9_]*"));
      }
      if (member.is_structured()) look(member);
    }
  };
  each_readout([&](const Command& command) {
    if (command.form != everything) look(ask(asked(command)));
  });
}

TEST_F(JsonShapes, TheReportHoldsThemAll) {
  const std::set<std::string_view> of_the_moment = {"show version", "show metrics", "show ip dhcp binding"};
  fill();
  json report = ask(std::string(everything));
  size_t found = 0;
  each_readout([&](const Command& command) {
    if (!report.contains(command.form) || of_the_moment.contains(command.form)) return;
    EXPECT_EQ(report[std::string(command.form)], ask(std::string(command.form))) << command.form;
    ++found;
  });
  for (const std::string_view form : of_the_moment) EXPECT_TRUE(report.contains(form)) << form;
  EXPECT_EQ(report["show interfaces gigabitethernet 1"], ask("show interfaces gigabitethernet 1"));
  EXPECT_EQ(report.size(), found + 1 + of_the_moment.size());
}

}  // namespace
}  // namespace dhcp::softswitch::cli
