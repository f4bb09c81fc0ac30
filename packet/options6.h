/// DHCPv6 options (RFC 8415 section 21): stepping, search, the first IA of a message, and appending.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/ip6.h"
#include "base/mac.h"
#include "packet/message6.h"

namespace dhcp::packet {

namespace option6 {
inline constexpr uint16_t client_id = 1, server_id = 2, ia_na = 3, ia_ta = 4, ia_address = 5, option_request = 6,
                          relay_message = 9, status_code = 13, interface_id = 18, dns_servers = 23, domain_list = 24;
inline constexpr size_t header_size = 4;
}  // namespace option6

/// Status codes that are written (RFC 8415 section 21.13).
namespace status6 {
inline constexpr uint16_t success = 0, no_addrs_avail = 3, not_on_link = 4;
}  // namespace status6

/// An option that would end here, or further, counted from the first option, is not written.
inline constexpr size_t options6_limit = 955;

struct Option6 {
  uint16_t code;
  std::span<uint8_t> value;
};

/// The option at `index`, which moves behind it; false at the end, and before an option that claims more bytes than
/// there are.
bool next_option6(std::span<uint8_t> options, size_t& index, Option6& out);

/// Value of the first option `code`, or nothing. What stands behind an option that runs off is not found.
std::optional<std::span<uint8_t>> find_option6(std::span<uint8_t> options, uint16_t code);

/// An address with its lifetimes in seconds.
struct IaAddress6 {
  base::Ip6 ip;
  uint32_t preferred, valid;
};

/// The first IA_NA of a message, or, only when it has none, the first IA_TA.
struct Ia6 {
  uint16_t type;  // option6::ia_na or ia_ta
  std::span<uint8_t> value;
  std::optional<IaAddress6> address;  // nothing unless its first sub-option is an address

  /// Bytes before the sub-options: IAID, and T1 and T2 of an IA_NA.
  size_t fixed_size() const { return type == option6::ia_na ? 12 : 4; }
  /// Only a whole IA has an IAID and, as IA_NA, T1 and T2; those of any other are 0.
  bool whole() const { return value.size() >= fixed_size(); }
  uint32_t iaid() const { return whole() ? load_be32(&value[0]) : 0; }
  uint32_t t1() const { return whole() && type == option6::ia_na ? load_be32(&value[4]) : 0; }
  uint32_t t2() const { return whole() && type == option6::ia_na ? load_be32(&value[8]) : 0; }
  /// The first address option that lies in the IA with both its lifetimes: the only one that a server believes.
  std::optional<IaAddress6> whole_address() const;
};
std::optional<Ia6> find_ia6(std::span<uint8_t> options);

/// Appends options to a message that is being built; the first one that does not fit makes the writer fail for good.
class OptionWriter6 {
 public:
  /// `message` is the room for the whole message, its header included; options begin behind `header_size` bytes, and
  /// `used` bytes of them are there already. The header is the caller's.
  explicit OptionWriter6(std::span<uint8_t> message, size_t header_size = dhcp6::header_size, size_t used = 0);

  void add(uint16_t code, std::span<const uint8_t> value);
  void add_u16(uint16_t code, uint16_t value);
  /// More bytes for the option that was added last, or for the one in hand (Nested).
  void bytes(std::span<const uint8_t> more);
  void u16(uint16_t value);
  void u32(uint32_t value);
  /// For a value that cannot be written at all.
  void fail() { ok_ = false; }

  /// An option that is put together piece by piece, sub-options included: its length is that of everything written
  /// between its beginning and its end.
  class Nested {
   public:
    Nested(OptionWriter6& writer, uint16_t code) : writer_(writer), at_(writer.used_) { writer.add(code, {}); }
    ~Nested() { writer_.close(at_); }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;

   private:
    OptionWriter6& writer_;
    size_t at_;
  };

  bool ok() const { return ok_; }
  /// Bytes of options; the message is header_size + used() long.
  size_t used() const { return used_; }
  size_t message_size() const { return header_size_ + used_; }

 private:
  void take(size_t size);
  void close(size_t at);

  std::span<uint8_t> message_;
  size_t header_size_, used_;
  bool ok_;
};

/// The IA that answers a client's: with an address (T1 and T2 are written in an IA_NA only) or with a status alone.
void add_ia6(OptionWriter6& writer, uint16_t type, uint32_t iaid, uint32_t t1, uint32_t t2, const IaAddress6& address);
void add_ia6_status(OptionWriter6& writer, uint16_t type, uint32_t iaid, uint16_t status);

/// A domain list in which every name is a single label, dots included, whatever RFC 1035 says: a length, the name, a
/// zero. A name of more than 255 characters makes the writer fail.
void add_domain_list6(OptionWriter6& writer, std::span<const char* const> names);

/// DUIDs (RFC 8415 section 11) of the hardware type Ethernet. `seconds` is written as it is: the module counts it from
/// 1970, not from 2000.
using DuidLlt = std::array<uint8_t, 14>;
using DuidLl = std::array<uint8_t, 10>;
DuidLlt duid_llt(uint32_t seconds, const base::MacAddress& mac);
DuidLl duid_ll(const base::MacAddress& mac);

}  // namespace dhcp::packet
