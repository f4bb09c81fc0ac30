/// DHCPv4 options under any bytes: nothing outside the message is read, the two look-ups follow their rules, and what
/// is written can be read back.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "dhcp/packet.h"
#include "fuzz/target.h"
#include "packet/options4.h"

namespace dhcp::fuzz {

namespace {

using packet::Message4;
using packet::OptionStep;
using Bytes = std::span<uint8_t>;

/// A copy in a block of exactly its size.
class Exact {
 public:
  explicit Exact(std::span<const uint8_t> from) : size_(from.size()), block_(new uint8_t[from.size()]) {
    std::copy(from.begin(), from.end(), block_.get());
  }
  Bytes bytes() const { return {block_.get(), size_}; }

 private:
  size_t size_;
  std::unique_ptr<uint8_t[]> block_;
};

bool inside(Bytes whole, Bytes part) {
  return part.data() >= whole.data() && part.size() <= whole.size() &&
         static_cast<size_t>(part.data() - whole.data()) <= whole.size() - part.size();
}

void steps_stay_inside(Bytes area) {
  size_t index = 0;
  packet::Option4 option{};
  for (;;) {
    const size_t before = index;
    if (packet::next_option(area, index, option) != OptionStep::found) return;
    HOLDS(inside(area, option.value));
    HOLDS(option.code != packet::option::pad && option.code != packet::option::end);
    HOLDS(index > before && index <= area.size());
    HOLDS(option.value.data() + option.value.size() == area.data() + index);
  }
}

/// One area walked byte by byte, the plain way. Null when the code is not in it; `ended` when its end option was met.
const uint8_t* walk(Bytes area, uint8_t code, uint8_t& overload, bool& ended) {
  ended = false;
  size_t at = 0;
  while (at < area.size()) {
    if (area[at] == 0) {
      ++at;
      continue;
    }
    if (area[at] == 255) {
      ended = true;
      return nullptr;
    }
    if (at + 1 >= area.size() || at + 1 + area[at + 1] >= area.size()) return nullptr;
    if (area[at] == code) return &area[at] + 2;
    if (area[at] == 52 && area[at + 1] > 0) overload = area[at + 2];
    at += size_t{2} + area[at + 1];
  }
  return nullptr;
}

/// Which of the message's own fields are searched behind the options, in the order file, sname.
const uint8_t* plain_find(const Message4& message, uint8_t code, size_t limit, bool sname_only_after_file) {
  uint8_t overload = 0;
  bool ended = false;
  const Bytes options = message.options();
  const uint8_t* found = walk(options.first(std::min(limit, options.size())), code, overload, ended);
  if (found != nullptr || !ended) return found;
  const bool file = (overload & 1) != 0;
  if (file) {
    found = walk(message.bytes().subspan(108, 128), code, overload, ended);
    if (found != nullptr || !ended) return found;
  }
  if ((overload & 2) == 0 || (sname_only_after_file && !file)) return nullptr;
  return walk(message.bytes().subspan(44, 64), code, overload, ended);
}

/// The codes that servers look for, and two that the input names.
std::vector<uint8_t> codes_of(const Message4& message) {
  std::vector<uint8_t> codes{50, 51, 52, 53, 54, 55, 61, 82};
  for (const size_t at : {size_t{0}, size_t{4}}) {
    codes.push_back(static_cast<uint8_t>(message.bytes()[at] % 254 + 1));
  }
  return codes;
}

void lookups_follow_their_rules(const Message4& message) {
  for (const uint8_t number : codes_of(message)) {
    const auto in_message = packet::find_in_message(message, number);
    const auto in_frame = packet::find_in_frame(message, number);
    HOLDS((in_message ? in_message->data() : nullptr) == plain_find(message, number, 308, true));
    HOLDS((in_frame ? in_frame->data() : nullptr) == plain_find(message, number, SIZE_MAX, false));
    HOLDS(!in_message || inside(message.bytes(), *in_message));
    HOLDS(!in_frame || inside(message.bytes(), *in_frame));
  }
}

/// The exported look-up knows no length: it gets the whole message with its 308 option bytes.
void exported_lookup_agrees(const Message4& message) {
  std::vector<uint8_t> whole(message.bytes().begin(), message.bytes().end());
  whole.resize(240 + 308, 255);
  const Exact exact(whole);
  const auto copy = Message4::at(exact.bytes());
  for (const uint8_t code : codes_of(*copy)) {
    const auto expected = packet::find_in_message(*copy, code);
    HOLDS(__get_option(exact.bytes().data(), code) == (expected ? expected->data() : nullptr));
  }
}

/// Writes the options that the input names and reads each back; what does not fit changes nothing for good.
void written_is_read_back(Input input) {
  std::vector<uint8_t> message(240 + input.byte() + size_t{input.byte()}, 0xa5);
  const Exact exact(message);
  const Bytes area = exact.bytes().subspan(240);
  packet::OptionWriter4 writer(area);
  struct Wanted {
    uint8_t code;
    std::vector<uint8_t> value;
  };
  std::vector<Wanted> written;
  while (!input.empty()) {
    const auto code = static_cast<uint8_t>(input.byte() % 254 + 1);
    const auto value = input.bytes(input.byte());
    const size_t before = writer.used();
    writer.add(code, value);
    HOLDS(writer.used() == before + (writer.ok() ? 2 + value.size() : 0));
    HOLDS(writer.used() <= std::min<size_t>(area.size(), 312));
    if (!writer.ok()) break;
    written.push_back({code, {value.begin(), value.end()}});
  }
  const bool fitted = writer.ok();
  writer.finish();
  HOLDS(fitted || !writer.ok());
  HOLDS(std::all_of(area.begin() + static_cast<std::ptrdiff_t>(writer.used()), area.end(),
                    [](uint8_t untouched) { return untouched == 0xa5; }));
  size_t index = 0;
  packet::Option4 option{};
  const Bytes used = area.first(writer.used());
  for (const Wanted& wanted : written) {
    HOLDS(packet::next_option(used, index, option) == OptionStep::found);
    HOLDS(option.code == wanted.code && std::ranges::equal(option.value, wanted.value));
  }
  const OptionStep last = packet::next_option(used, index, option);
  HOLDS(last == (writer.ok() ? OptionStep::end : OptionStep::ran_off));
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  if (size > 2048) return 0;
  written_is_read_back({data, size});
  const Exact input({data, size});
  steps_stay_inside(input.bytes());
  if (const auto message = Message4::at(input.bytes())) {
    lookups_follow_their_rules(*message);
    exported_lookup_agrees(*message);
  } else {
    // Too short for a message: the bytes are its options.
    std::vector<uint8_t> whole(240 + size);
    std::ranges::copy(input.bytes(), whole.begin() + 240);
    const Exact exact(whole);
    lookups_follow_their_rules(*Message4::at(exact.bytes()));
  }
  return 0;
}
