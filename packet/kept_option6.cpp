#include "packet/kept_option6.h"

#include <algorithm>
#include <new>

namespace dhcp::packet {

namespace {

constexpr size_t bare_ia_size = 12, ia_size = 40;  // IAID, T1, T2; and an address option behind them

KeptOption6 new_record(size_t value_size) {
  return KeptOption6(new (std::nothrow) uint8_t[option6::header_size + value_size]);
}

}  // namespace

void store_option6(uint8_t* record, uint16_t code, std::span<const uint8_t> value) {
  store_be16(record, code);
  store_be16(record + 2, static_cast<uint16_t>(value.size()));
  std::copy(value.begin(), value.end(), record + option6::header_size);
}

KeptOption6 keep_option6(uint16_t code, std::span<const uint8_t> value) {
  KeptOption6 record = new_record(value.size());
  if (record != nullptr) store_option6(record.get(), code, value);
  return record;
}

KeptOption6 keep_ia_na6(const Ia6& ia) {
  const bool with_address = ia.address && ia.value.size() >= ia_size;
  if (!with_address) return keep_option6(option6::ia_na, ia.value.first(bare_ia_size));
  KeptOption6 record = new_record(ia_size);
  if (record == nullptr) return record;
  OptionWriter6 writer(std::span(record.get(), option6::header_size + ia_size), 0);
  add_ia6(writer, option6::ia_na, ia.iaid(), ia.t1(), ia.t2(), *ia.address);
  return record;
}

Option6 kept_option6(uint8_t* record) {
  return {load_be16(record), std::span(record + option6::header_size, load_be16(record + 2))};
}

std::optional<Ia6> kept_ia6(uint8_t* record) {
  return find_ia6(std::span(record, option6::header_size + kept_option6(record).value.size()));
}

}  // namespace dhcp::packet
