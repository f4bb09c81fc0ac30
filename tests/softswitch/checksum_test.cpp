#include "softswitch/checksum.h"

#include <gtest/gtest.h>

#include <random>

#include "softswitch/advertisement.h"
#include "tests/softswitch/frames.h"

namespace dhcp::softswitch::test {
namespace {

/// RFC 1071, word by word as it is written.
uint16_t slow_sum(std::span<const uint8_t> bytes, uint32_t sum = 0) {
  for (size_t i = 0; i < bytes.size(); ++i) sum += i % 2 == 0 ? bytes[i] * 256u : bytes[i];
  while (sum >> 16 != 0) sum = (sum & 0xffff) + (sum >> 16);
  return static_cast<uint16_t>(sum);
}

TEST(Checksum, EqualsTheSlowSumAtEveryLengthAndAlignment) {
  std::mt19937 random(4711);
  Bytes bytes(1600);
  for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
  for (size_t from = 0; from < 8; ++from)
    for (size_t size = 0; size < 70; ++size)
      ASSERT_EQ(ones_sum({&bytes[from], size}), slow_sum({&bytes[from], size})) << from << " " << size;
  EXPECT_EQ(ones_sum(bytes, 0x1ffff), slow_sum(bytes, 0x1ffff));
  const Bytes ones(1500, 0xff);
  EXPECT_EQ(ones_sum(ones), 0xffff);
}

/// The sum over pseudo header and segment is all ones when the checksum is right (RFC 1071 section 1).
uint16_t verify(const Bytes& frame, uint32_t l3, uint32_t l4) {
  const bool six = frame[l3] >> 4 == 6;
  const auto length = static_cast<uint32_t>(frame.size() - l4);
  const uint16_t addresses = slow_sum(std::span(frame).subspan(l3 + (six ? 8u : 12u), six ? 32 : 8));
  const uint32_t protocol = six ? frame[l3 + 6] : frame[l3 + 9];
  return slow_sum(std::span(frame).subspan(l4), addresses + length + protocol);
}

TEST(Checksum, FinishesWhatALocalKernelLeftOut) {
  for (const size_t payload : {0u, 1u, 300u, 301u}) {
    for (const uint8_t protocol : {protocol_udp, protocol_tcp}) {
      Bytes four = ip4(true, protocol, 67, payload, 2);
      ASSERT_TRUE(finish_checksum(four));
      EXPECT_EQ(verify(four, 18, 46), 0xffff) << payload;
      Bytes six = ip6(false, protocol, 547, payload);
      ASSERT_TRUE(finish_checksum(six));
      EXPECT_EQ(verify(six, 14, 54), 0xffff) << payload;
    }
  }
}

TEST(Checksum, PaddingIsLeftOutAndAFragmentLeftAlone) {
  Bytes plain = ip4(false, protocol_udp, 67, 5);
  Bytes padded = plain;
  padded.insert(padded.end(), 13, 0x77);
  ASSERT_TRUE(finish_checksum(plain));
  ASSERT_TRUE(finish_checksum(padded));
  padded.resize(plain.size());
  EXPECT_EQ(padded, plain);

  Bytes fragment = ip4(false, protocol_udp, 67, 5);
  fragment[20] = 0x20;
  const Bytes before = fragment;
  EXPECT_FALSE(finish_checksum(fragment));
  EXPECT_EQ(fragment, before);
}

TEST(Checksum, UdpNeverSendsZero) {
  Bytes frame = ip4(false, protocol_udp, 67, 2);
  ASSERT_TRUE(finish_checksum(frame));
  // Adding the checksum itself to the payload brings the next sum to all ones, so its complement to zero.
  const uint32_t raised = load_be16(&frame[42]) + load_be16(&frame[40]);
  store_be16(&frame[42], static_cast<uint16_t>((raised & 0xffff) + (raised >> 16)));
  ASSERT_TRUE(finish_checksum(frame));
  EXPECT_EQ(load_be16(&frame[40]), 0xffff);
}

/// A neighbour advertisement of 24 bytes, with as many bytes of options.
Bytes advertisement(int options, uint8_t type = 136) {
  Bytes frame = ether(false, type_ipv6);
  append(frame, {0x60, 0, 0, 0, 0, 24 + options, protocol_icmp6, 255});
  for (int i = 0; i < 32; ++i) frame.push_back(static_cast<uint8_t>(0x20 + i));
  append(frame, {type, 0, 0, 0, 0x60, 0, 0, 0});
  for (int i = 0; i < 16 + options; ++i) frame.push_back(static_cast<uint8_t>(0xe0 + i));
  store_be16(&frame[56], static_cast<uint16_t>(~verify(frame, 14, 54)));
  return frame;
}

TEST(Advertisement, WithoutOptionsGainsItsSendersMacAndKeepsItsChecksumRightOrWrong) {
  for (const int spoilt : {0, 1}) {
    Bytes bare = advertisement(0);
    store_be16(&bare[56], static_cast<uint16_t>(load_be16(&bare[56]) + spoilt));
    const auto named = name_advertiser(bare.data(), std::span(bare).subspan(12));
    ASSERT_TRUE(named);
    Bytes want = bare;
    want[19] = 32;
    append(want, {2, 1, 0x02, 0, 0, 0, 0, 0x11});
    store_be16(&want[56], load_be16(&(*named)[56]));
    EXPECT_EQ(Bytes(named->begin(), named->end()), want);
    EXPECT_EQ(verify(want, 14, 54) == 0xffff, spoilt == 0);
  }
  Bytes cut = advertisement(0);
  cut.pop_back();
  for (const Bytes& other : {advertisement(8), advertisement(0, 135), cut, ip6(false, protocol_udp, 547, 16)})
    EXPECT_FALSE(name_advertiser(other.data(), std::span(other).subspan(12)));
}

}  // namespace
}  // namespace dhcp::softswitch::test
