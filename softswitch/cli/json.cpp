#include "softswitch/cli/json.h"

#include <nlohmann/json.hpp>

namespace dhcp::softswitch::cli {

using Library = nlohmann::ordered_json;

Json::Json() : value_(std::make_unique<Library>()) {}
Json::Json(bool value) : value_(std::make_unique<Library>(value)) {}
Json::Json(int64_t value) : value_(std::make_unique<Library>(value)) {}
Json::Json(uint64_t value) : value_(std::make_unique<Library>(value)) {}
Json::Json(double value) : value_(std::make_unique<Library>(value)) {}
Json::Json(std::string_view text) : value_(std::make_unique<Library>(text)) {}
Json::Json(const Json& other) : value_(std::make_unique<Library>(*other.value_)) {}
Json::Json(Json&& other) noexcept = default;
Json::~Json() = default;

Json& Json::operator=(Json other) noexcept {
  value_ = std::move(other.value_);
  return *this;
}

Json Json::object(std::initializer_list<Member> members) {
  Json out;
  *out.value_ = Library::object();
  for (const auto& [key, value] : members) out.set(key, value);
  return out;
}

Json Json::array(const std::vector<Json>& elements) {
  Json out;
  *out.value_ = Library::array();
  for (const Json& element : elements) out.push_back(element);
  return out;
}

void Json::set(std::string_view key, Json value) { (*value_)[std::string(key)] = std::move(*value.value_); }

void Json::push_back(Json element) { value_->push_back(std::move(*element.value_)); }

void Json::take_members(const Json& object) { value_->update(*object.value_); }

bool Json::is_null() const { return value_->is_null(); }

std::string Json::text() const {
  constexpr int on_one_line = -1;
  return value_->dump(on_one_line, ' ', false, Library::error_handler_t::replace);
}

}  // namespace dhcp::softswitch::cli
