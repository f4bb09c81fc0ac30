/// Which values a command can take, and how each is checked.
#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

#include "platform/text.h"
#include "softswitch/cli/words.h"
#include "softswitch/control.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

using Refused = std::optional<std::string>;

constexpr uint32_t max_vlan = 4094;
constexpr uint32_t max_option_bytes = 255;  // an option's length is one byte (RFC 2132 section 2)

constexpr Placeholder placeholders[] = {
    {"PORT", Kind::port, 1, 0, "port number"},
    {"VLAN", Kind::number, 1, max_vlan, "VLAN identifier"},
    {"VLANS", Kind::vlan_list, 1, max_vlan, "VLAN identifiers, as in 5-7,10, or all"},
    {"TAG", Kind::number, 0, 2, "tag mode, 0 = client's, 1 = helper's, 2 = the given one"},
    {"ROUTEVLAN", Kind::number, 0, max_vlan, "VLAN identifier of tag mode 2, otherwise 0"},
    {"POOL", Kind::number, 1, 0x7fffffff, "pool number"},
    {"SECONDS", Kind::number, 10, 1000000, "seconds"},
    {"LINES", Kind::number, 0, 512, "lines on a page, 0 = no paging"},
    {"DAYS", Kind::number, 0, 49710, "days"},
    {"HOURS", Kind::number, 0, 23, "hours"},
    {"MINUTES", Kind::number, 0, 59, "minutes"},
    {"BLOCKS", Kind::number, 0, 65535, "size in blocks of 512 octets, 0 = do not tell the client"},
    {"CODE", Kind::number, 1, 254, "option code"},
    {"PPS", Kind::number, 1, 1000000, "packet limit, frames a second"},
    {"MODE", Kind::number, 0, 1, "mode, 0 = exempt from the check, 1 = checked like any other"},
    {"DELAY", Kind::number, 1, 86400, "time between two writes, seconds"},
    {"ID", Kind::number, 0, 255, "number before the text, one byte"},
    {"EXPIRY", Kind::lease, 0, 0x7fffffff, "lease in seconds; -1 is what a lease without end is saved as"},
    {"ADDRESS", Kind::address, 0, 0, "IPv4 address"},
    {"NETWORK", Kind::address, 0, 0, "network address"},
    {"START", Kind::address, 0, 0, "first address"},
    {"END", Kind::address, 0, 0, "last address"},
    {"GATEWAY", Kind::address, 0, 0, "address of the next hop"},
    {"ROUTER", Kind::address, 0, 0, "address of a router, at most 8"},
    {"SERVER", Kind::address, 0, 0, "address of a server, at most 8"},
    {"MASK", Kind::mask, 0, 0, "network mask"},
    {"MAC", Kind::mac, 0, 0, "hardware address"},
    {"ADDRESS6", Kind::address6, 0, 0, "IPv6 address"},
    {"START6", Kind::address6, 0, 0, "network address, or first address of a range"},
    {"LENGTH_OR_END", Kind::end6, 1, 128, "prefix length, or last address of the range"},
    {"DNS6", Kind::address6, 0, 0, "IPv6 address of a DNS server"},
    {"PREFERRED", Kind::lifetime, 0, 0, "preferred lifetime in seconds, or infinity"},
    {"VALID", Kind::lifetime, 0, 0, "valid lifetime in seconds, or infinity"},
    {"PREFIX", Kind::prefix6, 0, 0, "IPv6 address and prefix length"},
    {"HEX", Kind::hex, 1, max_option_bytes, "value bytes, two hexadecimal digits each"},
    {"IFNAME", Kind::word, 1, 15, "name of a network interface"},
    {"SEVERITY", Kind::severity, 0, 0, "emergencies, alerts, critical, errors, warnings, notifications, ..."},
    {"PATH", Kind::word, 1, 255, "whole path of a file, from /"},
    {"NAME", Kind::word, 1, 63, "host name: letters, digits, '-', '_', '.'"},
    {"DOMAIN", Kind::text, 1, 255, "domain name"},
    {"DOMAIN6", Kind::text, 1, 253, "domain name"},
    {"SERVERNAME", Kind::text, 1, 64, "TFTP server name"},
    {"FILE", Kind::text, 1, 128, "boot file name"},
    {"STRING", Kind::text, 1, 63, "text, at most 63 characters"},
    {"TEXT", Kind::text, 1, max_option_bytes, "text, to the end of the line"},
};

Refused whole_number(std::string_view text, uint32_t low, uint32_t high, std::string_view what, uint32_t& out) {
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc() && end == text.data() + text.size() && value >= low && value <= high) {
    out = value;
    return {};
  }
  return std::string(what) + " must be a number from " + std::to_string(low) + " to " + std::to_string(high);
}

/// Negative numbers come from files: a lease without end is a signed number there.
Refused lease(std::string_view text, Value& out) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return "a lease is a number of seconds";
  out.number = static_cast<uint32_t>(value);
  return {};
}

Refused severity(std::string_view text, Value& out) {
  int value = 0;
  if (!severity_of(text, value)) return "not a severity: 0 to 7, emergencies to debugging, or off";
  out.number = static_cast<uint32_t>(value);
  return {};
}

bool dotted_quad(std::string_view text, uint32_t& out) {
  in_addr address{};
  if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) return false;
  out = ntohl(address.s_addr);
  return true;
}

Refused address(std::string_view text, Value& out) {
  if (!dotted_quad(text, out.number)) return "not an IPv4 address";
  return {};
}

Refused mask(std::string_view text, Value& out) {
  if (!dotted_quad(text, out.number)) return "not a network mask";
  const uint32_t host_bits = ~out.number;
  if (out.number == 0 || (host_bits & (host_bits + 1)) != 0) return "not a network mask: its ones must stand together";
  return {};
}

bool hex_byte(std::string_view digits, uint8_t& out) {
  const char* const last = digits.data() + digits.size();
  const auto [end, error] = std::from_chars(digits.data(), last, out, 16);
  return digits.size() == 2 && error == std::errc() && end == last;
}

Refused mac(std::string_view text, Value& out) {
  constexpr size_t length = 17;  // "00:11:22:33:44:55"
  bool good = text.size() == length;
  for (size_t i = 0; good && i < out.mac.size(); ++i) {
    good = hex_byte(text.substr(i * 3, 2), out.mac[i]) && (i == 0 || text[i * 3 - 1] == ':' || text[i * 3 - 1] == '-');
  }
  if (!good) return "not a hardware address; write it as 00:11:22:33:44:55";
  if ((out.mac[0] & 1) != 0 || out.mac == decltype(out.mac){}) return "not the hardware address of one station";
  return {};
}

Refused address6(std::string_view text, Value& out) {
  if (inet_pton(AF_INET6, std::string(text).c_str(), out.ip6.data()) != 1) return "not an IPv6 address";
  return {};
}

Refused prefix6(std::string_view text, Value& out) {
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) return "the prefix length is missing; write it as 2001:db8::1/64";
  if (auto bad = address6(text.substr(0, slash), out)) return bad;
  uint32_t length = 0;
  return whole_number(text.substr(slash + 1), 1, 128, "the prefix length", length);
}

Refused end6(const Placeholder& place, std::string_view text, Value& out) {
  if (text.find(':') != std::string_view::npos) return address6(text, out);
  return whole_number(text, place.low, place.high, "the prefix length", out.number);
}

Refused lifetime(std::string_view text, Value& out) {
  constexpr uint32_t infinite = 0xffffffff;
  out.number = infinite;
  if (begins_with("infinity", text) || same_word(text, "infinite")) return {};
  return whole_number(text, 1, infinite - 1, "a lifetime", out.number);
}

Refused vlan_range(std::string_view item, std::vector<uint16_t>& out) {
  const size_t dash = item.find('-');
  uint32_t first = 0, last = 0;
  if (auto bad = whole_number(item.substr(0, dash), 1, max_vlan, "a VLAN identifier", first)) return bad;
  last = first;
  if (dash != std::string_view::npos) {
    if (auto bad = whole_number(item.substr(dash + 1), 1, max_vlan, "a VLAN identifier", last)) return bad;
  }
  if (last < first) return "the range " + std::string(item) + " ends before it begins";
  for (uint32_t vlan = first; vlan <= last; ++vlan) out.push_back(static_cast<uint16_t>(vlan));
  return {};
}

Refused vlan_list(std::string_view text, Value& out) {
  out.vlans.clear();
  if (same_word(text, "all")) return {};
  for (size_t at = 0; at <= text.size();) {
    const size_t comma = std::min(text.find(',', at), text.size());
    if (auto bad = vlan_range(text.substr(at, comma - at), out.vlans)) return bad;
    at = comma + 1;
  }
  std::sort(out.vlans.begin(), out.vlans.end());
  out.vlans.erase(std::unique(out.vlans.begin(), out.vlans.end()), out.vlans.end());
  return {};
}

Refused hex(const Placeholder& place, std::string_view text, Value& out) {
  if (begins_with(text, "0x")) text.remove_prefix(2);
  out.bytes.clear();
  for (size_t at = 0; at + 2 <= text.size(); at += 2) {
    uint8_t byte = 0;
    if (!hex_byte(text.substr(at, 2), byte)) return "not hexadecimal digits";
    out.bytes.push_back(byte);
  }
  if (text.size() % 2 != 0) return "a byte takes two hexadecimal digits; one is missing";
  if (out.bytes.size() < place.low || out.bytes.size() > place.high) {
    return "the value must have 1 to " + std::to_string(place.high) + " bytes";
  }
  return {};
}

Refused text_of_length(const Placeholder& place, std::string_view text) {
  if (text.size() > place.high) {
    return "too long: " + std::to_string(text.size()) + " characters, at most " + std::to_string(place.high);
  }
  const auto is_control = [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == 0x7f; };
  if (std::any_of(text.begin(), text.end(), is_control)) return "control characters are not allowed";
  return {};
}

}  // namespace

const Placeholder* find_placeholder(std::string_view name) {
  for (const Placeholder& place : placeholders) {
    if (place.name == name) return &place;
  }
  return nullptr;
}

std::span<const Placeholder> all_placeholders() { return placeholders; }

std::string shape_of(const Placeholder& place) {
  switch (place.kind) {
    case Kind::lease:
    case Kind::number: return "<" + std::to_string(place.low) + "-" + std::to_string(place.high) + ">";
    case Kind::port: return "<1-" + std::to_string(switch_control().port_count()) + ">";
    case Kind::address:
    case Kind::mask: return "A.B.C.D";
    case Kind::mac: return "H:H:H:H:H:H";
    case Kind::address6: return "X:X::X";
    case Kind::prefix6: return "X:X::X/L";
    case Kind::end6: return "<1-128>|X:X::X";
    case Kind::lifetime: return "SECONDS|infinity";
    case Kind::vlan_list: return "LIST";
    case Kind::hex: return "HEX";
    case Kind::severity: return "<0-7>|off";
    case Kind::word: return "WORD";
    case Kind::text: return "LINE";
  }
  return {};
}

std::optional<std::string> parse_value(const Placeholder& place, std::string_view text, Value& out) {
  out.kind = place.kind;
  out.text = text;
  switch (place.kind) {
    case Kind::number:
      return whole_number(text, place.low, place.high, "the " + std::string(place.help.substr(0, place.help.find(','))),
                          out.number);
    case Kind::port: return whole_number(text, 1, switch_control().port_count(), "the port number", out.number);
    case Kind::address: return address(text, out);
    case Kind::mask: return mask(text, out);
    case Kind::mac: return mac(text, out);
    case Kind::address6: return address6(text, out);
    case Kind::prefix6: return prefix6(text, out);
    case Kind::end6: return end6(place, text, out);
    case Kind::lifetime: return lifetime(text, out);
    case Kind::vlan_list: return vlan_list(text, out);
    case Kind::hex: return hex(place, text, out);
    case Kind::lease: return lease(text, out);
    case Kind::severity: return severity(text, out);
    case Kind::word:
    case Kind::text: return text_of_length(place, text);
  }
  return {};
}

std::string dotted(uint32_t address) {
  const in_addr network{htonl(address)};
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &network, text, sizeof text);
  return text;
}

std::string ip6_text(const uint8_t* address) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, address, text, sizeof text);
  return text;
}

std::string mac_text(const uint8_t* mac) {
  char text[18];
  return onu_mac2str(mac, text);
}

std::string hexadecimal(std::span<const uint8_t> bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : bytes) text += {digits[byte >> 4], digits[byte & 15]};
  return text;
}

std::string vlan_list_text(const std::vector<uint16_t>& vlans) {
  if (vlans.empty()) return "all";
  std::string text;
  for (size_t first = 0; first < vlans.size();) {
    size_t last = first;
    while (last + 1 < vlans.size() && vlans[last + 1] == vlans[last] + 1) ++last;
    text += (text.empty() ? "" : ",") + std::to_string(vlans[first]);
    if (last > first) text += "-" + std::to_string(vlans[last]);
    first = last + 1;
  }
  return text;
}

}  // namespace dhcp::softswitch::cli
