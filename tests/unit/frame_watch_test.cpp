/// One line a frame: what it is, what became of it, what was sent for it.
#include "base/frame_watch.h"

#include "dhcp/debug.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "module/module.h"
#include "packet/frame_line.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace bench {
namespace {

using wire::operator+;

std::vector<std::string>& told() {
  static std::vector<std::string> lines;
  return lines;
}
void tell(const char* line) { told().emplace_back(line); }

class FrameWatch : public ServerBench {
 protected:
  void SetUp() override {
    ServerBench::SetUp();
    make_pool();
    dhcp_server_start_stop(1);
    dhcp_watch_frames(tell);
    told().clear();
  }
  void TearDown() override {
    dhcp_watch_frames(nullptr);
    dhcp_server_start_stop(0);
    ServerBench::TearDown();
  }
  /// The lines about a frame that the dispatcher was given.
  static std::vector<std::string> lines(const Bytes& frame, uint32_t type = dhcp::module::event_ipv4_frame) {
    told().clear();
    wire::Received received(frame, 3, 1600);
    DhcpEvent event{.p = 0, .i = 0, .type = type, .unused = {}, .len = 0, .data = received.skp()};
    dhcp::module::dispatch(event);
    device().take_sent();
    return told();
  }
};

TEST_F(FrameWatch, TheLineSaysWhatCameWhatBecameOfItAndWhatWasSent) {
  const Mac client = mac_number(1);
  const std::string offer = "out all vlan 10 02:00:00:00:00:10 > ff:ff:ff:ff:ff:ff 192.168.1.1 > 255.255.255.255 ";
  const std::string from = "in Gi3 vlan 10 00:10:20:30:00:01 > ff:ff:ff:ff:ff:ff 0.0.0.0 > 255.255.255.255 ";
  EXPECT_THAT(lines(discover(client).xid(0x1a2b).ip_option(50, ip(192, 168, 1, 12)).frame()),
              ElementsAre(from + "DISCOVER xid 00001a2b requested 192.168.1.12 -- server: offered",
                          offer + "OFFER xid 00001a2b client 00:10:20:30:00:01 yiaddr 192.168.1.12 server 192.168.1.1 "
                                  "lease 86400"));
  EXPECT_THAT(lines(discover(client).vlan(20).frame()).front(), testing::EndsWith(" -- server: no pool"));
  const Bytes cut = discover(client).frame();
  EXPECT_THAT(lines(Bytes(cut.begin(), cut.begin() + 200)), ElementsAre(from + "cut short -- server: malformed"));
  EXPECT_THAT(lines(Bytes(9, 1)), ElementsAre("in Gi3 9 bytes -- server: malformed"));
  dhcp_server_start_stop(0);
  EXPECT_THAT(lines(cut).front(), testing::EndsWith(" -- dispatch: no service"));
  device().frames_are_unusable = true;
  EXPECT_THAT(lines(cut).front(), testing::EndsWith(" -- dispatch: unusable"));
  dhcp_watch_frames(nullptr);
  EXPECT_THAT(lines(cut), IsEmpty());
}

TEST_F(FrameWatch, SixIsTakenApartDownToTheMessageThatARelayCarries) {
  const Mac client = mac_number(1);
  const Bytes ia = wire::ia_na(1, wire::ia_address(wire::ip6("2001:db8::5"), 1, 2));
  const std::string from = "in Gi3 vlan 10 00:10:20:30:00:01 > 33:33:00:01:00:02 ";
  const auto solicit = wire::Message6(wire::SOLICIT6, client, ia + wire::option6(13, {0, 3})).xid(0xabcdef);
  const auto line = [](const wire::Message6& message) {
    return lines(message.frame(), dhcp::module::event_ipv6_frame).front();
  };
  EXPECT_THAT(line(solicit), testing::AllOf(StartsWith(from),
                                            HasSubstr(" SOLICIT xid abcdef address 2001:db8::5 valid 2 status 3 -- ")));
  const Bytes inner = Bytes{1, 1, 2, 3} + ia;
  const auto relayed = wire::Message6::relayed(wire::RELAY_FORW6, client, 2, wire::ip6("2001:db8::1"),
                                               wire::ip6("fe80::9"), wire::option6(9, inner));
  EXPECT_THAT(line(relayed), HasSubstr(" RELAY-FORW hops 2 link 2001:db8::1 peer fe80::9 carries SOLICIT xid 010203 "
                                       "address 2001:db8::5 valid 2"));
}

/// Whatever is in a frame, only its own bytes are read; the storage is as long as the frame.
TEST_F(FrameWatch, FramesCutAnywhereAndDamagedAnywhereAreDescribed) {
  const Bytes relayed = wire::Message6::relayed(wire::RELAY_FORW6, mac_number(1), 0, {}, {},
                                                wire::option6(9, Bytes{1, 1, 2, 3} + wire::ia_na(1, {})))
                            .frame();
  for (const Bytes& whole : {discover(mac_number(1)).ip_option(50, 1).option(52, {3}).frame(), relayed}) {
    for (size_t size = 0; size <= whole.size(); ++size) {
      for (const uint8_t value : {uint8_t{0}, uint8_t{0xff}}) {
        const std::unique_ptr<uint8_t[]> frame(new uint8_t[size]);
        std::copy_n(whole.begin(), size, frame.get());
        dhcp::packet::FrameLine line;
        line.describe({frame.get(), size});
        EXPECT_LT(strlen(line.c_str()), 512u);
        const std::unique_ptr<uint8_t[]> damaged(new uint8_t[whole.size()]);
        std::copy(whole.begin(), whole.end(), damaged.get());
        if (size < whole.size()) damaged[size] = value;
        dhcp::packet::FrameLine other;
        other.describe({damaged.get(), whole.size()});
        EXPECT_LT(strlen(other.c_str()), 512u);
      }
    }
  }
}

TEST_F(FrameWatch, MoreThanThereIsRoomForIsToldAtOnce) {
  const std::string text(500, 'x');
  {
    dhcp::base::WatchedFrame frame(tell);
    for (int n = 0; n < 10; ++n) dhcp::base::tell_sent(text.c_str());
    for (int n = 0; n < 10; ++n) dhcp::base::note_fate(1, 1);
    EXPECT_EQ(frame.fates().size(), 8u);
    EXPECT_EQ(told().size(), 2u);
    frame.tell("in");
  }
  EXPECT_EQ(told().size(), 11u);
  EXPECT_EQ(told()[2], "in");
  EXPECT_THAT(told().back(), text);
  dhcp::base::tell_sent("without a frame in hand");
  EXPECT_EQ(told().back(), "without a frame in hand");
}

}  // namespace
}  // namespace bench
