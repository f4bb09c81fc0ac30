/// JSON values, as programs read what a show command says.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace dhcp::softswitch::cli {

/// One value; a null unless said. Members of an object keep their order. The library stands behind a pointer, as its
/// header takes seconds to compile.
class Json {
 public:
  using Member = std::pair<std::string_view, Json>;

  Json();
  Json(bool value);
  Json(int64_t value);
  Json(uint64_t value);
  Json(double value);
  template <std::integral T>
  Json(T value) : Json(static_cast<std::conditional_t<std::is_signed_v<T>, int64_t, uint64_t>>(value)) {}
  Json(std::string_view text);  // bytes that are no UTF-8 become U+FFFD
  Json(const std::string& text) : Json(std::string_view(text)) {}
  Json(const char* text) : Json(std::string_view(text)) {}
  template <class T>
  Json(const std::optional<T>& value) : Json(value ? Json(*value) : Json()) {}
  static Json object(std::initializer_list<Member> members = {});
  static Json array(const std::vector<Json>& elements = {});

  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(Json other) noexcept;
  ~Json();

  void set(std::string_view key, Json value);  // a null becomes an object
  void push_back(Json element);                // a null becomes an array
  void take_members(const Json& object);       // a null becomes an object
  bool is_null() const;
  /// One line, without its end.
  std::string text() const;

 private:
  std::unique_ptr<nlohmann::ordered_json> value_;  // never null
};

}  // namespace dhcp::softswitch::cli
