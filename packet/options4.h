/// DHCPv4 options (RFC 2132): stepping, the two lookups of the module, and appending.
///
/// The lookups differ on purpose: find_in_message() looks at 308 option bytes and reaches `sname` only after `file`;
/// find_in_frame() looks at all bytes that the frame holds and reaches `sname` also when `file` is not overloaded.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "packet/message4.h"

namespace dhcp::packet {

namespace option {
inline constexpr uint8_t pad = 0, subnet_mask = 1, router = 3, dns_server = 6, boot_file_size = 13, domain_name = 15,
                         requested_ip = 50, lease_time = 51, overload = 52, message_type = 53, server_id = 54,
                         parameter_list = 55, client_id = 61, tftp_server = 66, boot_file = 67, agent_information = 82,
                         end = 255;
}  // namespace option

enum class MessageType : uint8_t { discover = 1, offer, request, decline, ack, nak, release, inform };

/// Bytes of options that a message is sent with and that find_in_message() reads.
inline constexpr size_t options_sent_limit = 312;
inline constexpr size_t options_read_limit = 308;

struct Option4 {
  uint8_t code;
  std::span<uint8_t> value;
};

enum class OptionStep {
  found,    // an option that lies wholly inside the area
  end,      // the end option
  ran_off,  // the area ended without one, or an option claims more bytes than there are
};

/// Next option at or after `index`, pads skipped; `index` moves behind it.
OptionStep next_option(std::span<uint8_t> area, size_t& index, Option4& out);

/// The value of option `code`, or nothing. RFC 2132 section 9.3 for overload.
std::optional<std::span<uint8_t>> find_in_message(const Message4& message, uint8_t code);
std::optional<std::span<uint8_t>> find_in_frame(const Message4& message, uint8_t code);

/// Numbers out of options: nothing when the option is absent or shorter than the number.
std::optional<uint8_t> byte_option(const Message4& message, uint8_t code);
std::optional<uint32_t> ip_option(const Message4& message, uint8_t code);

/// Option 53 (RFC 2132 section 9.6), looked for in all of the frame; 0 without one.
uint8_t message_type_of(const Message4& message);

/// Appends options to an area; the first one that does not fit makes the writer fail for good.
class OptionWriter4 {
 public:
  /// `area` is where options begin; at most 312 bytes of it take options. `used` bytes are there already.
  explicit OptionWriter4(std::span<uint8_t> area, size_t used = 0);
  void add(uint8_t code, std::span<const uint8_t> value);
  void add_byte(uint8_t code, uint8_t value);
  void add_ip(uint8_t code, uint32_t ip);
  /// The end option, one byte: it may stand behind the 312th byte when the area goes on.
  void finish();
  bool ok() const { return ok_; }
  size_t used() const { return used_; }

 private:
  std::span<uint8_t> area_;
  size_t limit_;
  size_t used_;
  bool ok_;
};

}  // namespace dhcp::packet
