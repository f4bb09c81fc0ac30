#include "softswitch/frame_map.h"

#include <gmock/gmock.h>

#include <memory>

#include "platform/adp.h"
#include "tests/softswitch/frames.h"

namespace dhcp::softswitch::test {
namespace {

/// Maps a copy that ends exactly where the frame ends, so that a read beyond it is seen.
FrameMap map_copy(const Bytes& frame, size_t size) {
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[size == 0 ? 1 : size]);
  std::copy_n(frame.begin(), size, exact.get());
  return map_frame({exact.get(), size});
}
FrameMap map_copy(const Bytes& frame) { return map_copy(frame, frame.size()); }

TEST(FrameMap, FindsHeadersBehindTagOptionsAndPadding) {
  for (const bool tagged : {false, true}) {
    for (const int options : {0, 1, 10}) {
      Bytes frame = ip4(tagged, protocol_udp, 67, 300, options);
      frame.insert(frame.end(), 18, 0);  // Ethernet padding
      skpack skp{};
      skp.data = frame.data();
      skp.psize = static_cast<uint32_t>(frame.size());
      skp.ip6_hdr = frame.data();
      ASSERT_TRUE(point_headers(skp));
      const ptrdiff_t l3 = tagged ? 18 : 14;
      EXPECT_EQ(skp.ip_hdr - skp.data, l3);
      EXPECT_EQ(skp.ud_hdr - skp.data, l3 + 20 + options * 4);
      EXPECT_EQ(skp.upper, skp.ud_hdr);
      EXPECT_EQ(skp.ip6_hdr, nullptr) << "left over from before";
      EXPECT_EQ(skp.vlan_tag, tagged ? skp.data + 12 : nullptr);
    }
  }
  Bytes six = ip6(true, protocol_udp, 547, 40);
  skpack skp{};
  skp.data = six.data();
  skp.psize = static_cast<uint32_t>(six.size());
  ASSERT_TRUE(point_headers(skp));
  EXPECT_EQ(skp.ip6_hdr, skp.data + 18);
  EXPECT_EQ(skp.ud_hdr, skp.data + 58);
  EXPECT_EQ(skp.ip_hdr, nullptr);
}

TEST(FrameMap, CutFramesAreNeverUsableButStillRecognisedByTheirPort) {
  for (const Bytes& frame : {ip4(true, protocol_udp, 67, 60), ip4(false, protocol_udp, 67, 60, 3),
                             ip6(true, protocol_udp, 67, 60), ip6(false, protocol_udp, 67, 60, {0, 60})}) {
    const uint32_t l4 = map_copy(frame).l4;
    ASSERT_NE(l4, 0u);
    for (size_t size = 0; size < frame.size(); ++size) {
      const FrameMap map = map_copy(frame, size);
      EXPECT_FALSE(map.sound) << size;
      EXPECT_EQ(map.udp_to, size >= l4 + 4 ? 67 : 0) << size;
    }
  }
}

/// Hosts take tags off one after the other, so what hides behind a second one would pass every rule and guard.
TEST(FrameMap, SeesThatTagsAreNested) {
  const auto retagged = [](Bytes frame, int type) {
    frame.insert(frame.begin() + 12, {static_cast<uint8_t>(type >> 8), static_cast<uint8_t>(type), 0, 10});
    return frame;
  };
  const Bytes plain = ip4(false, protocol_udp, 68, 300), tagged = ip4(true, protocol_udp, 68, 300);
  EXPECT_FALSE(map_frame(plain, false).nested);
  EXPECT_FALSE(map_frame(plain, true).nested);
  EXPECT_FALSE(map_frame(tagged, false).nested);
  EXPECT_TRUE(map_frame(tagged, true).nested) << "the outer tag came beside the frame";
  for (const int type : {0x8100, 0x88a8, 0x9100}) EXPECT_TRUE(map_frame(retagged(tagged, type), false).nested) << type;
  EXPECT_TRUE(map_frame(retagged(plain, 0x88a8), true).nested);
}

struct Lie {
  const char* what;
  size_t at;
  uint8_t value;
  bool trapped;  // the port is seen all the same
};

TEST(FrameMap, RefusesIpv4LengthsThatLie) {
  // Offsets in an untagged frame: IP at 14, UDP at 34.
  constexpr Lie lies[] = {
      {"version 6", 14, 0x65, false},
      {"header of 16 bytes", 14, 0x44, false},
      {"header of 60 bytes, too long", 14, 0x4f, false},
      {"total length beyond the frame", 17, 100, true},
      {"total length inside the header", 17, 19, true},
      {"total length inside UDP", 17, 27, true},
      {"UDP length 7", 39, 7, true},
      {"UDP length beyond IP", 39, 29, true},
      {"more fragments", 20, 0x20, true},
      {"later fragment", 21, 1, false},
      {"not UDP", 23, 6, false},
  };
  for (const Lie& lie : lies) {
    Bytes frame = ip4(false, protocol_udp, 67, 20);
    frame[lie.at] = lie.value;
    skpack skp{};
    skp.data = frame.data();
    skp.psize = static_cast<uint32_t>(frame.size());
    EXPECT_FALSE(point_headers(skp)) << lie.what;
    EXPECT_EQ(skp.ud_hdr, nullptr) << lie.what;
    EXPECT_EQ(map_copy(frame).udp_to, lie.trapped ? 67 : 0) << lie.what;
  }
}

TEST(FrameMap, LooksThroughIpv6ExtensionHeadersWithoutTrustingThem) {
  const FrameMap behind = map_copy(ip6(false, protocol_udp, 547, 20, {0, 43, 60, 44}));
  EXPECT_FALSE(behind.sound) << "the module reads at fixed places";
  EXPECT_EQ(behind.udp_to, 547) << "but a server behind options does not slip past its rule";

  Bytes later = ip6(false, protocol_udp, 547, 20, {44});
  later[14 + 40 + 3] = 8;  // fragment offset
  EXPECT_EQ(map_copy(later).udp_to, 0);

  Bytes endless = ip6(false, protocol_udp, 547, 20, {0});
  endless[14 + 40 + 1] = 255;  // an options header of 2048 bytes
  EXPECT_EQ(map_copy(endless).udp_to, 0);
  EXPECT_EQ(map_copy(ip6(false, protocol_udp, 547, 20, std::vector<uint8_t>(9, 0))).udp_to, 0);

  Bytes longer = ip6(false, protocol_udp, 547, 20);
  longer[14 + 5] = 29;  // one byte more than there is
  EXPECT_FALSE(map_copy(longer).sound);
}

}  // namespace
}  // namespace dhcp::softswitch::test
