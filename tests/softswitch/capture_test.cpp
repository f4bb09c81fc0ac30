/// What the capture's file holds when its limits are met, read block by block.
#include "softswitch/capture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/softswitch/frames.h"

namespace dhcp::softswitch::test {
namespace {

class CaptureTest : public testing::Test {
 protected:
  CaptureTest() { request.path = testing::TempDir() + "capture_" + std::to_string(getpid()); }
  ~CaptureTest() override { unlink(request.path.c_str()); }

  void begin() {
    Refusal why;
    capture = Capture::begin(request, {{"Gi1", ""}, {"Gi2", "veth2"}}, why);
    ASSERT_TRUE(capture) << *why;
  }
  void take(uint32_t port, const Bytes& frame) {
    capture->take(port, pcapng::Direction::in, {{{frame.data(), 12}, {}, std::span(frame).subspan(12)}});
  }
  static uint64_t number(const std::string& bytes, size_t at, size_t size) {
    uint64_t value = 0;
    std::memcpy(&value, &bytes[at], size);
    return value;
  }
  /// How many blocks of each type there are, and of how many lost frames the last ones tell.
  void read() {
    std::ifstream in(request.path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    file_size = bytes.size();
    for (size_t at = 0, size = 0; at < bytes.size(); at += size) {
      size = number(bytes, at + 4, 4);
      ASSERT_TRUE(size >= 12 && size % 4 == 0 && size <= bytes.size() - at);
      ASSERT_EQ(number(bytes, at + size - 4, 4), size);
      const uint64_t type = number(bytes, at, 4);
      ++blocks[type];
      constexpr size_t lost_at = 20 + 12 + 12 + 12 + 4;
      if (type == 5) lost += number(bytes, at + lost_at, 8);
    }
  }

  CaptureRequest request;
  std::unique_ptr<Capture> capture;
  size_t file_size = 0;
  uint64_t lost = 0;
  std::map<uint64_t, unsigned> blocks;
};

TEST_F(CaptureTest, IsOverBeforeItsFileIsLongerThanAllowed) {
  request.limit = 4096;
  begin();
  for (unsigned i = 0; i < 100; ++i) take(1 + i % 2, ip4(true, protocol_udp, 67, 61));
  capture->end();
  read();
  const CaptureStatus status = capture->status();
  EXPECT_EQ(status.state, CaptureState::full);
  EXPECT_EQ(status.size, file_size);
  EXPECT_LE(file_size, request.limit);
  EXPECT_GT(file_size, request.limit - 200) << "one more frame would have found no room";
  EXPECT_EQ(blocks[6], status.frames);
  EXPECT_EQ(blocks[5], 2u);
  EXPECT_EQ(blocks[1], 2u);
}

TEST_F(CaptureTest, FramesWithoutRoomAreMissedAndCounted) {
  begin();
  const Bytes large(60000, 0x5a);
  constexpr unsigned sent = 300;
  for (unsigned i = 0; i < sent; ++i) take(2, large);
  capture->end();
  read();
  EXPECT_EQ(capture->status().state, CaptureState::ended);
  EXPECT_EQ(blocks[6], capture->status().frames);
  EXPECT_EQ(blocks[6] + lost, sent);
  EXPECT_EQ(lost, capture->status().lost);
}

TEST_F(CaptureTest, TakesWhatItWasAskedFor) {
  request.dhcp = true;
  request.port = 2;
  begin();
  take(2, ip4(false, protocol_udp, 68, 20));
  take(2, ip6(true, protocol_udp, 547, 20, {0, 60}));
  take(2, ip4(false, protocol_udp, 53, 20));
  take(2, ether(false, 0x88b5));
  take(1, ip4(false, protocol_udp, 67, 20));
  capture->end();
  read();
  EXPECT_EQ(blocks[6], 2u);
  EXPECT_EQ(blocks[1], 1u);
}

}  // namespace
}  // namespace dhcp::softswitch::test
