#include "packet/options6.h"

#include <algorithm>
#include <cstring>

#include "dhcp/packet6.h"
#include "packet/frame6.h"

namespace dhcp::packet {

namespace {

/// Where an address option's fields lie in it, behind its code and length (RFC 8415 section 21.6).
constexpr Field ia_ip{0, 16}, ia_preferred{16, 4}, ia_valid{20, 4};
static_assert(adjoining(ia_ip, ia_preferred, ia_valid));

/// The number at `at`; bytes behind the end of the options are zero.
uint32_t word_at(std::span<const uint8_t> options, size_t at) {
  std::array<uint8_t, 4> word{};
  if (at < options.size()) std::copy_n(&options[at], std::min(word.size(), options.size() - at), word.begin());
  return load_be32(word.data());
}

/// An IA must reach as far as its address's preferred lifetime; a valid lifetime that it cuts off is what follows in
/// the message.
std::optional<IaAddress6> address_in(std::span<uint8_t> options, const Ia6& ia) {
  const size_t sub_option = ia.fixed_size(), address = sub_option + option6::header_size;
  if (ia.value.size() < address + ia_preferred.end()) return std::nullopt;
  if (load_be16(&ia.value[sub_option]) != option6::ia_address) return std::nullopt;
  const size_t at = static_cast<size_t>(ia.value.data() - options.data()) + address;
  return IaAddress6{base::Ip6::from(&options[at]), word_at(options, at + ia_preferred.offset),
                    word_at(options, at + ia_valid.offset)};
}

/// The end of what an append leaves, or nothing when it is one too long.
std::optional<size_t> end_of_append(size_t offset, size_t length) {
  if (offset >= options6_limit || length >= options6_limit) return std::nullopt;
  const size_t end = offset + length + option6::header_size;
  if (end >= options6_limit) return std::nullopt;
  return end;
}

int append(uint8_t* options, int offset, int code, int length, const uint8_t* data) {
  if (offset < 0 || length < 0) return -1;
  const auto end = end_of_append(static_cast<size_t>(offset), static_cast<size_t>(length));
  if (!end) return -1;
  uint8_t* at = options + offset;
  store_be16(at, static_cast<uint16_t>(code));
  store_be16(at + 2, static_cast<uint16_t>(length));
  if (length > 0) std::copy_n(data, length, at + option6::header_size);
  return static_cast<int>(*end);
}

uint8_t* value_of(const std::optional<std::span<uint8_t>>& found, int* length_out) {
  if (!found) return nullptr;
  if (length_out != nullptr) *length_out = static_cast<int>(found->size());
  return found->data();
}

}  // namespace

bool next_option6(std::span<uint8_t> options, size_t& index, Option6& out) {
  if (index > options.size() || options.size() - index < option6::header_size) return false;
  const size_t length = load_be16(&options[index + 2]);
  if (options.size() - index - option6::header_size < length) return false;
  out = {load_be16(&options[index]), options.subspan(index + option6::header_size, length)};
  index += option6::header_size + length;
  return true;
}

std::optional<std::span<uint8_t>> find_option6(std::span<uint8_t> options, uint16_t code) {
  Option6 option{};
  for (size_t index = 0; next_option6(options, index, option);) {
    if (option.code == code) return option.value;
  }
  return std::nullopt;
}

std::optional<Ia6> find_ia6(std::span<uint8_t> options) {
  for (const uint16_t type : {option6::ia_na, option6::ia_ta}) {
    const auto value = find_option6(options, type);
    if (!value) continue;
    Ia6 ia{type, *value, std::nullopt};
    ia.address = address_in(options, ia);
    return ia;
  }
  return std::nullopt;
}

std::optional<IaAddress6> Ia6::whole_address() const {
  if (!whole()) return std::nullopt;
  const auto option = find_option6(value.subspan(fixed_size()), option6::ia_address);
  if (!option || option->size() < ia_valid.end()) return std::nullopt;
  const uint8_t* at = option->data();
  return IaAddress6{base::Ip6::from(at), load_be32(at + ia_preferred.offset), load_be32(at + ia_valid.offset)};
}

OptionWriter6::OptionWriter6(std::span<uint8_t> message, size_t header_size, size_t used)
    : message_(message),
      header_size_(header_size),
      used_(used),
      ok_(header_size <= message.size() && used <= message.size() - header_size && used < options6_limit) {}

void OptionWriter6::add(uint16_t code, std::span<const uint8_t> value) {
  take(option6::header_size + value.size());
  if (!ok_) return;
  const size_t at = used_ - option6::header_size - value.size();
  append(&message_[header_size_], static_cast<int>(at), code, static_cast<int>(value.size()), value.data());
}

void OptionWriter6::add_u16(uint16_t code, uint16_t value) {
  const Nested option(*this, code);
  u16(value);
}

void OptionWriter6::bytes(std::span<const uint8_t> more) {
  take(more.size());
  if (ok_)
    std::copy(more.begin(), more.end(), message_.begin() + static_cast<std::ptrdiff_t>(message_size() - more.size()));
}

void OptionWriter6::u16(uint16_t value) {
  std::array<uint8_t, 2> wire;
  store_be16(wire.data(), value);
  bytes(wire);
}

void OptionWriter6::u32(uint32_t value) {
  std::array<uint8_t, 4> wire;
  store_be32(wire.data(), value);
  bytes(wire);
}

/// Claims the next `size` bytes, if they are there.
void OptionWriter6::take(size_t size) {
  ok_ = ok_ && size < options6_limit - used_ && size <= message_.size() - message_size();
  if (ok_) used_ += size;
}

void OptionWriter6::close(size_t at) {
  if (!ok_) return;
  store_be16(&message_[header_size_ + at + 2], static_cast<uint16_t>(used_ - at - option6::header_size));
}

void add_ia6(OptionWriter6& writer, uint16_t type, uint32_t iaid, uint32_t t1, uint32_t t2, const IaAddress6& address) {
  const OptionWriter6::Nested ia(writer, type);
  writer.u32(iaid);
  if (type == option6::ia_na) {
    writer.u32(t1);
    writer.u32(t2);
  }
  const OptionWriter6::Nested sub_option(writer, option6::ia_address);
  writer.bytes(address.ip.bytes);
  writer.u32(address.preferred);
  writer.u32(address.valid);
}

void add_ia6_status(OptionWriter6& writer, uint16_t type, uint32_t iaid, uint16_t status) {
  const OptionWriter6::Nested ia(writer, type);
  writer.u32(iaid);
  if (type == option6::ia_na) {
    writer.u32(0);
    writer.u32(0);
  }
  writer.add_u16(option6::status_code, status);
}

void add_domain_list6(OptionWriter6& writer, std::span<const char* const> names) {
  const OptionWriter6::Nested list(writer, option6::domain_list);
  for (const char* name : names) {
    const size_t length = strlen(name);
    if (length > 255) return writer.fail();
    const auto label = static_cast<uint8_t>(length);
    writer.bytes(std::span(&label, 1));
    writer.bytes(std::span(reinterpret_cast<const uint8_t*>(name), length + 1));  // its terminator is the zero
  }
}

DuidLlt duid_llt(uint32_t seconds, const base::MacAddress& mac) {
  DuidLlt duid{0, 1, 0, 1};
  store_be32(&duid[4], seconds);
  std::copy(mac.bytes.begin(), mac.bytes.end(), duid.begin() + 8);
  return duid;
}

DuidLl duid_ll(const base::MacAddress& mac) {
  DuidLl duid{0, 3, 0, 1};
  std::copy(mac.bytes.begin(), mac.bytes.end(), duid.begin() + 4);
  return duid;
}

}  // namespace dhcp::packet

using namespace dhcp::packet;

uint8_t* dhcp6_get_option(skpack* frame, int code, int* length_out) {
  const auto message = message6_in(*frame);
  if (!message) return nullptr;
  return value_of(find_option6(message->options(), static_cast<uint16_t>(code)), length_out);
}

uint8_t* dhcp6_get_relay_option(skpack* frame, int code, int* length_out) {
  const auto message = message6_in(*frame);
  if (!message) return nullptr;
  const auto relay = RelayMessage6::at(message->bytes());
  if (!relay) return nullptr;
  return value_of(find_option6(relay->options(), static_cast<uint16_t>(code)), length_out);
}

int dhcp6_add_option(uint8_t* message, int offset, int code, int length, const uint8_t* data) {
  return append(message + dhcp6::header_size, offset, code, length, data);
}

int dhcp6_add_relay_option(uint8_t* message, int offset, int code, int length, const uint8_t* data) {
  return append(message + relay6::header_size, offset, code, length, data);
}

int dhcp6_get_ia_type_addr(skpack* frame, uint16_t* type_out, uint32_t* iaid_out, uint8_t address_out[16],
                           uint32_t* valid_lifetime_out) {
  const auto message = message6_in(*frame);
  if (!message) return -1;
  const auto ia = find_ia6(message->options());
  if (!ia || !ia->whole()) return -1;
  if (type_out != nullptr) *type_out = ia->type;
  if (iaid_out != nullptr) *iaid_out = ia->iaid();
  const auto address = ia->whole_address();
  if (!address) return 1;
  if (address_out != nullptr) address->ip.copy_to(address_out);
  if (valid_lifetime_out != nullptr) *valid_lifetime_out = address->valid;
  return 0;
}

int dhcp6_get_ia_address(skpack* frame, uint32_t address_out[4], uint32_t* valid_lifetime_out) {
  const auto message = message6_in(*frame);
  if (!message) return -1;
  const auto ia = find_ia6(message->options());
  if (!ia || !ia->address) return -1;
  for (size_t i = 0; i < 4; ++i) address_out[i] = ia->address->ip.word(i);
  *valid_lifetime_out = ia->address->valid;
  return 0;
}
