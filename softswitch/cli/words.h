/// Words of a typed line, and the kinds of value that a command takes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dhcp::softswitch::cli {

/// A word and where it begins, so that a caret can be put under it.
struct Word {
  std::string_view text;
  size_t column = 0;
};

/// The line without its line end and trailing blanks: files come with CR LF, the module saves blanks at line ends.
std::string_view trim_end(std::string_view line);

/// Words are separated by any number of blanks or tabs. The views point into `line`.
std::vector<Word> split_words(std::string_view line);

bool same_word(std::string_view a, std::string_view b);            // letter case does not matter
bool begins_with(std::string_view word, std::string_view prefix);  // likewise

enum class Kind {
  number,
  port,
  address,
  mask,
  mac,
  address6,
  prefix6,
  end6,
  lifetime,
  vlan_list,
  hex,
  lease,
  severity,
  word,
  text
};

/// A place for a value in a command, known by a name in capitals ("VLAN"); names stand in command forms.
struct Placeholder {
  std::string_view name;
  Kind kind = Kind::word;
  uint32_t low = 0, high = 0;  // of a number; of a text, its shortest and longest length
  std::string_view help;
};

/// Null = the name is not a placeholder's, thus a keyword.
const Placeholder* find_placeholder(std::string_view name);
std::span<const Placeholder> all_placeholders();

/// "1-4094" for a number, "A.B.C.D" for an address: what `?` shows.
std::string shape_of(const Placeholder& place);

/// A checked value. `text` is as typed; the other members are filled by kind.
struct Value {
  Kind kind = Kind::word;
  std::string text;
  uint32_t number = 0;  // number, port; address and mask in host order; lease, severity (signed, cast); lifetime;
                        // end6: the prefix length, 0 = `ip6` is the last address
  std::array<uint8_t, 6> mac{};
  std::array<uint8_t, 16> ip6{};  // as on the wire
  std::vector<uint8_t> bytes;     // hex
  std::vector<uint16_t> vlans;    // ascending; "all" = empty
};

/// Nothing = accepted; otherwise why not.
std::optional<std::string> parse_value(const Placeholder& place, std::string_view text, Value& out);

std::string dotted(uint32_t address);                            // of a host-order number
std::string ip6_text(const uint8_t* address);                    // of sixteen bytes
std::string mac_text(const uint8_t* mac);                        // of six
std::string hexadecimal(std::span<const uint8_t> bytes);         // "01ff"
std::string vlan_list_text(const std::vector<uint16_t>& vlans);  // "5-7,10"; "all" when empty

}  // namespace dhcp::softswitch::cli
