#include "packet/options4.h"

#include <algorithm>

#include "dhcp/packet.h"

namespace dhcp::packet {

namespace {

/// Bits of option 52's value: which of the message's own fields carry options too.
constexpr uint8_t overload_file = 1, overload_sname = 2;

/// Looks through one area and remembers an overload option met on the way. `ended` tells whether the area's end
/// option was reached, which is what allows the walk to go on in the next area.
struct AreaSearch {
  std::optional<std::span<uint8_t>> value;
  bool ended = false;
};

AreaSearch search_area(std::span<uint8_t> area, uint8_t code, uint8_t& overload) {
  size_t index = 0;
  Option4 found{};
  for (;;) {
    const OptionStep step = next_option(area, index, found);
    if (step != OptionStep::found) return {std::nullopt, step == OptionStep::end};
    if (found.code == code) return {found.value, false};
    if (found.code == option::overload && !found.value.empty()) overload = found.value[0];
  }
}

}  // namespace

OptionStep next_option(std::span<uint8_t> area, size_t& index, Option4& out) {
  while (index < area.size() && area[index] == option::pad) ++index;
  if (index >= area.size()) return OptionStep::ran_off;
  if (area[index] == option::end) return OptionStep::end;
  if (area.size() - index < 2) return OptionStep::ran_off;
  const size_t length = area[index + 1];
  if (area.size() - index - 2 < length) return OptionStep::ran_off;
  out = {area[index], area.subspan(index + 2, length)};
  index += 2 + length;
  return OptionStep::found;
}

std::optional<std::span<uint8_t>> find_in_message(const Message4& message, uint8_t code) {
  uint8_t overload = 0;
  const auto options = message.options();
  AreaSearch search = search_area(options.first(std::min(options.size(), options_read_limit)), code, overload);
  if (search.ended && (overload & overload_file) != 0) {
    search = search_area(message.field(dhcp4::file), code, overload);
    if (search.ended && (overload & overload_sname) != 0) {
      search = search_area(message.field(dhcp4::sname), code, overload);
    }
  }
  return search.value;
}

std::optional<std::span<uint8_t>> find_in_frame(const Message4& message, uint8_t code) {
  uint8_t overload = 0;
  AreaSearch search = search_area(message.options(), code, overload);
  if (search.ended && (overload & overload_file) != 0) {
    search = search_area(message.field(dhcp4::file), code, overload);
  }
  if (search.ended && (overload & overload_sname) != 0) {
    search = search_area(message.field(dhcp4::sname), code, overload);
  }
  return search.value;
}

std::optional<uint8_t> byte_option(const Message4& message, uint8_t code) {
  const auto value = find_in_frame(message, code);
  if (!value || value->empty()) return std::nullopt;
  return (*value)[0];
}

uint8_t message_type_of(const Message4& message) {
  const auto options = message.options();
  const bool comes_first = options.size() > 2 && options[0] == option::message_type && options[1] == 1;
  return comes_first ? options[2] : byte_option(message, option::message_type).value_or(0);
}

std::optional<uint32_t> ip_option(const Message4& message, uint8_t code) {
  const auto value = find_in_frame(message, code);
  if (!value || value->size() < 4) return std::nullopt;
  return load_be32(value->data());
}

OptionWriter4::OptionWriter4(std::span<uint8_t> area, size_t used)
    : area_(area), limit_(std::min(area.size(), options_sent_limit)), used_(used), ok_(used <= limit_) {}

void OptionWriter4::add(uint8_t code, std::span<const uint8_t> value) {
  ok_ = ok_ && value.size() <= 255 && used_ <= limit_ && limit_ - used_ >= 2 && limit_ - used_ - 2 >= value.size();
  if (!ok_) return;
  area_[used_] = code;
  area_[used_ + 1] = static_cast<uint8_t>(value.size());
  std::copy(value.begin(), value.end(), area_.begin() + static_cast<std::ptrdiff_t>(used_ + 2));
  used_ += 2 + value.size();
}

void OptionWriter4::add_byte(uint8_t code, uint8_t value) { add(code, std::span(&value, 1)); }

void OptionWriter4::add_ip(uint8_t code, uint32_t ip) {
  uint8_t wire[4];
  store_be32(wire, ip);
  add(code, wire);
}

void OptionWriter4::finish() {
  ok_ = ok_ && used_ < area_.size();
  if (ok_) area_[used_++] = option::end;
}

}  // namespace dhcp::packet

uint8_t* __get_option(uint8_t* msg, int code) {
  using namespace dhcp::packet;
  const auto message = Message4::at(std::span(msg, dhcp4::fixed_size + options_read_limit));
  if (!message || code < 0 || code > 255) return nullptr;
  const auto value = find_in_message(*message, static_cast<uint8_t>(code));
  return value ? value->data() : nullptr;
}
