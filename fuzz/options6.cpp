/// DHCPv6 options under any bytes: nothing outside the message is read, the look-ups follow their rules, and what is
/// written can be read back.
#include <algorithm>
#include <memory>
#include <vector>

#include "dhcp/packet6.h"
#include "fuzz/door.h"
#include "packet/frame6.h"
#include "packet/options6.h"

namespace dhcp::fuzz {

namespace {

using Bytes = std::span<const uint8_t>;

/// The first option `code` the plain way: its offset, or -1.
int plain_find(Bytes options, uint16_t code) {
  size_t at = 0;
  while (at + 4 <= options.size()) {
    const size_t length = size_t{options[at + 2]} << 8 | options[at + 3];
    if (at + 4 + length > options.size()) return -1;
    if ((options[at] << 8 | options[at + 1]) == code) return static_cast<int>(at + 4);
    at += 4 + length;
  }
  return -1;
}

/// The bytes as a message in a received frame whose UDP header claims a length of the input's choice.
void lookups_follow_their_rules(Input input) {
  auto built = FuzzedFrame::dhcp6(client(1), 10, 546, 547);
  const uint16_t claimed = input.word();
  built.add(input.bytes(largest_frame - 100));
  auto bytes = built.sealed();
  const size_t present = bytes.size() - packet::tagged_dhcp6_offset;
  if ((claimed & 0x8000) != 0) packet::store_be16(&bytes[packet::tagged_udp6_offset + 4], claimed & 0x7ff);
  const size_t length = (claimed & 0x8000) != 0 ? claimed & 0x7ff : present + 8;
  const size_t extent = std::min(present, length > 8 ? length - 8 : 0);
  bench::ReceivedFrame frame(bytes);
  const Bytes message = frame.bytes().subspan(packet::tagged_dhcp6_offset);
  for (int code = 0; code < 40; ++code) {
    for (const size_t header : {size_t{4}, size_t{34}}) {
      const Bytes options = message.subspan(0, extent).subspan(std::min(header, extent));
      const int at = present >= 4 && extent >= header ? plain_find(options, static_cast<uint16_t>(code)) : -1;
      int size = -1;
      const uint8_t* found = (header == 4 ? dhcp6_get_option : dhcp6_get_relay_option)(&frame.skp(), code, &size);
      HOLDS(found == (at < 0 ? nullptr : options.data() + at));
      HOLDS(found == nullptr || (size >= 0 && found + size <= message.data() + extent));
    }
  }
  // The one reads a first address option even when the IA cuts it short, the other a whole one anywhere in the IA.
  uint32_t words[4], valid = 0, iaid = 0, whole_valid = 0;
  uint16_t type = 0;
  uint8_t ip[16];
  const int first = dhcp6_get_ia_address(&frame.skp(), words, &valid);
  const int whole = dhcp6_get_ia_type_addr(&frame.skp(), &type, &iaid, ip, &whole_valid);
  HOLDS(whole != 0 || first != 0 || (valid == whole_valid && words[3] == packet::load_be32(ip + 12)));
  HOLDS(first != 0 || whole == 0 || whole == 1);
  HOLDS(whole == -1 || type == 3 || type == 4);
}

/// Writes the options that the input names and reads each back; what does not fit changes nothing for good.
void written_is_read_back(Input input) {
  const size_t room = 4 + size_t{input.byte()} * 5;
  const std::unique_ptr<uint8_t[]> block(new uint8_t[room]);
  const std::span<uint8_t> message(block.get(), room);
  std::ranges::fill(message, uint8_t{0xa5});
  packet::OptionWriter6 writer(message);
  std::vector<std::pair<uint16_t, Bytes>> written;
  while (!input.empty() && writer.ok()) {
    const uint16_t code = input.word();
    const Bytes value = input.bytes(input.word() % 1000), more = input.bytes(input.byte() % 8);
    const size_t before = writer.used();
    if (more.empty()) {
      writer.add(code, value);
    } else {
      const packet::OptionWriter6::Nested nested(writer, code);
      writer.bytes(value);
      writer.add(code, more);
    }
    const size_t size = 4 + value.size() + (more.empty() ? 0 : 4 + more.size());
    HOLDS(!writer.ok() || writer.used() == before + size);
    if (writer.ok()) written.emplace_back(code, value);
  }
  HOLDS(writer.used() < packet::options6_limit && writer.message_size() <= room);
  HOLDS(std::ranges::all_of(message.subspan(writer.message_size()), [](uint8_t byte) { return byte == 0xa5; }));
  size_t index = 0;
  packet::Option6 option{};
  for (const auto& [code, value] : written) {
    HOLDS(packet::next_option6(message.subspan(4, writer.used()), index, option));
    HOLDS(option.code == code && std::ranges::equal(option.value.first(value.size()), value));
  }
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  lookups_follow_their_rules({data, size});
  written_is_read_back({data, size});
  return 0;
}
