#include "softswitch/pcapng.h"

#include <cstring>

namespace dhcp::softswitch::pcapng {
namespace {

constexpr uint32_t section_block = 0x0a0d0d0a, interface_block = 1, statistics_block = 5, frame_block = 6;
constexpr uint16_t link_ethernet = 1;
constexpr size_t frame_head = 28, frame_tail = 8 + 4 + 4;  // before the bytes; flags, end of options, length

enum Option : uint16_t {
  end_of_options = 0,
  interface_name = 2,
  interface_description = 3,
  frame_flags = 2,
  interface_resolution = 9,
  section_application = 4,
  statistics_begin = 2,
  statistics_end = 3,
  statistics_received = 4,
  statistics_lost = 5,
  statistics_written = 8,
};

size_t padded(size_t size) { return (size + 3) & ~size_t{3}; }

template <class Number>
void put(Bytes& out, Number value) {
  uint8_t bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  out.insert(out.end(), bytes, bytes + sizeof value);
}

void pad(Bytes& out) { out.insert(out.end(), padded(out.size()) - out.size(), 0); }

/// A time is two words, the upper one first, in any byte order.
void put_time(Bytes& out, uint64_t time_ns) {
  put(out, static_cast<uint32_t>(time_ns >> 32));
  put(out, static_cast<uint32_t>(time_ns));
}

void add_option(Bytes& out, Option code, std::string_view value) {
  put(out, static_cast<uint16_t>(code));
  put(out, static_cast<uint16_t>(value.size()));
  out.insert(out.end(), value.begin(), value.end());
  pad(out);
}

void add_count(Bytes& out, Option code, uint64_t value) {
  put(out, static_cast<uint16_t>(code));
  put(out, uint16_t{8});
  put(out, value);
}

void add_time(Bytes& out, Option code, uint64_t time_ns) {
  put(out, static_cast<uint16_t>(code));
  put(out, uint16_t{8});
  put_time(out, time_ns);
}

/// The block's length stands at its beginning and at its end; every block begins at a multiple of four.
class Block {
 public:
  Block(Bytes& out, uint32_t type) : out_(out), begin_(out.size()) {
    put(out_, type);
    put(out_, uint32_t{0});
  }
  ~Block() {
    const auto size = static_cast<uint32_t>(out_.size() + sizeof(uint32_t) - begin_);
    put(out_, size);
    std::memcpy(&out_[begin_ + 4], &size, sizeof size);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

 private:
  Bytes& out_;
  size_t begin_;
};

size_t size_of(const Pieces& frame) { return frame[0].size() + frame[1].size() + frame[2].size(); }

}  // namespace

void add_section(Bytes& out, std::string_view application) {
  const Block block(out, section_block);
  put(out, uint32_t{0x1a2b3c4d});  // tells the byte order
  put(out, uint16_t{1});           // version 1.0
  put(out, uint16_t{0});
  put(out, int64_t{-1});  // the section's length: to the end of the file
  add_option(out, section_application, application);
  add_option(out, end_of_options, {});
}

void add_interface(Bytes& out, std::string_view name, std::string_view description) {
  const Block block(out, interface_block);
  put(out, link_ethernet);
  put(out, uint16_t{0});
  put(out, uint32_t{0});  // frames are kept whole
  add_option(out, interface_name, name);
  if (!description.empty()) add_option(out, interface_description, description);
  add_option(out, interface_resolution, "\x09");  // a power of ten
  add_option(out, end_of_options, {});
}

void add_frame(Bytes& out, uint32_t interface, uint64_t time_ns, Direction direction, const Pieces& frame) {
  const Block block(out, frame_block);
  const auto size = static_cast<uint32_t>(size_of(frame));
  put(out, interface);
  put_time(out, time_ns);
  put(out, size);  // as captured, and as it was
  put(out, size);
  for (const auto& piece : frame) out.insert(out.end(), piece.begin(), piece.end());
  pad(out);
  put(out, static_cast<uint16_t>(frame_flags));
  put(out, uint16_t{4});
  put(out, static_cast<uint32_t>(direction));
  add_option(out, end_of_options, {});
}

void add_statistics(Bytes& out, uint32_t interface, uint64_t begin_ns, uint64_t end_ns, const Counts& counts) {
  const Block block(out, statistics_block);
  put(out, interface);
  put_time(out, end_ns);
  add_time(out, statistics_begin, begin_ns);
  add_time(out, statistics_end, end_ns);
  add_count(out, statistics_received, counts.kept + counts.lost);
  add_count(out, statistics_lost, counts.lost);
  add_count(out, statistics_written, counts.kept);
  add_option(out, end_of_options, {});
}

size_t frame_block_size(const Pieces& frame) { return frame_head + padded(size_of(frame)) + frame_tail; }

}  // namespace dhcp::softswitch::pcapng
