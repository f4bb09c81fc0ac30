/// The DHCPv6 relay's frames, both ways.
#include "relay6/relay6.h"
#include "tests/unit/relay6_bench.h"

namespace {

using namespace wire;
using bench::device;
using testing::ElementsAre;

class Relay6 : public bench::Relay6Bench {
 protected:
  static constexpr const char *server = "2001:db8:20::5", *other = "2001:db8:20::6";
  static inline const Ip6 own_ip = ip6("2001:db8:20::1"), client_ip = ip6("fe80::2");
  static inline const Ip6 further_link = ip6("2001:db8:99::1"), further_peer = ip6("fe80::99");
  static inline const Bytes content{7, 1, 2, 3, 0, 1, 0, 1, 0xcc}, carried = option6(9, content);

  void SetUp() override {
    Relay6Bench::SetUp();
    answers(server, server_mac);
    answers(other, other_mac);
    ASSERT_EQ(add(server), 0);
  }
  static Message6 solicit() { return {SOLICIT6, client_mac, option6(1, {1, 2, 3})}; }
  static Message6 further(int hops, const Bytes& options) {
    return Message6::relayed(RELAY_FORW6, client_mac, hops, further_link, further_peer, options);
  }
  static Message6 reply(const Ip6& peer, const Bytes& options, int hops = 0) {
    return Message6::relayed(RELAY_REPL6, server_mac, hops, own_ip, peer, options).from_ip(ip6(server));
  }
  /// The relay's answer; the hop count that is left in the received frame goes to `hops_left`.
  static int receive(const Message6& message, int* hops_left = nullptr) {
    Received received(message.frame(), client_port);
    const int result = bench::counted_once(dhcp::relay6::frame_counts.view(), received.skp()->in_intf,
                                           [&] { return dhcp6_relay_packet_process(received.skp()); });
    if (hops_left != nullptr) *hops_left = received.bytes()[67];
    return result;
  }
  static std::vector<Reply6> sent() {
    std::vector<Reply6> replies;
    for (const fake::Sent& frame : device().take_sent()) {
      replies.emplace_back(frame.bytes);
      EXPECT_EQ(replies.back().faults, "");
      EXPECT_EQ(frame.vlan, replies.back().vlan);
    }
    return replies;
  }
};

TEST_F(Relay6, RequestGoesOutInsideARelayForward) {
  ASSERT_EQ(receive(solicit()), 0);
  const auto frames = device().take_sent();
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_THAT(frames[0].ports, ElementsAre(server_port));
  EXPECT_EQ(frames[0].mode, 2);
  EXPECT_EQ(frames[0].vlan, 20u);
  const Bytes message = Bytes{12, 0} + bytes_of(own_ip) + bytes_of(client_ip) +
                        option6(9, Bytes{1, 0x12, 0x34, 0x56} + option6(1, {1, 2, 3}));
  const Reply6 seen(frames[0].bytes);
  EXPECT_EQ(seen.faults, "") << "checksum and lengths";
  EXPECT_EQ(seen.message, message);
  EXPECT_EQ(seen.to_mac, server_mac);
  EXPECT_EQ(seen.from_mac, own_mac);
  EXPECT_EQ(seen.from_ip, own_ip);
  EXPECT_EQ(seen.to_ip, ip6(server));
  EXPECT_EQ((std::array{seen.vlan, seen.from_port, seen.to_port, seen.hop_limit}), (std::array{20u, 546u, 547u, 64u}));
  EXPECT_EQ(listed()[0].requests, 1u);

  const Bytes longest(1500, 0xa5);
  ASSERT_EQ(receive({REQUEST6, client_mac, option6(16, longest)}), 0);
  EXPECT_EQ(sent().at(0).option(9), (Bytes{3, 0x12, 0x34, 0x56} + option6(16, longest)));
}

TEST_F(Relay6, EveryTypeHasItsWay) {
  for (const int type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 14, 255}) {
    const bool relayed = type >= 1 && type <= 11 && type != 2 && type != 7 && type != 10;
    EXPECT_EQ(receive({type, client_mac}), 0);
    EXPECT_EQ(sent().size(), relayed ? 1u : 0u) << type;
  }
  EXPECT_EQ(counted().verdicts[DHCP6_RELAY_IGNORED], 6u);
  EXPECT_EQ(receive(solicit().untagged()), -1);
}

TEST_F(Relay6, FurtherRelayIsReplacedAndFoundAgain) {
  ASSERT_EQ(add(other), 0);
  int hops_left = 0;
  ASSERT_EQ(receive(further(5, carried + option6(18, {9})).vlan(11), &hops_left), 0);
  EXPECT_EQ(hops_left, 7) << "raised once for each destination";
  auto out = sent();
  ASSERT_EQ(out.size(), 2u);
  for (const Reply6& forward : out) {
    EXPECT_EQ(forward.peer, client_ip) << "not the further relay's peer";
    EXPECT_EQ(forward.link, own_ip);
    EXPECT_THAT(forward.codes(), ElementsAre(9));
    EXPECT_EQ(forward.option(9), content);
  }
  EXPECT_EQ(out[0].hops * 10 + out[1].hops, 56u);

  for (const int hops : {4, 0}) {
    ASSERT_EQ(receive(reply(client_ip, carried, hops), &hops_left), 0);
    EXPECT_EQ(hops_left, hops == 0 ? 0 : hops - 1);
    out = sent();
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].message,
              (Bytes{13, static_cast<uint8_t>(hops)} + bytes_of(further_link) + bytes_of(further_peer) + carried));
    EXPECT_EQ(out[0].vlan, 11u);
  }
  // The same sender as a client: its block is forgotten.
  ASSERT_EQ(receive(solicit().vlan(11)), 0);
  ASSERT_EQ(receive(reply(client_ip, carried, 3), &hops_left), 0);
  EXPECT_EQ(hops_left, 3) << "only a further relay's reply is counted down";
  EXPECT_EQ(sent().back().message, content);
}

TEST_F(Relay6, ReplyReachesTheClientInItsVlan) {
  ASSERT_EQ(receive(solicit().vlan(0xa00b)), 0);
  ASSERT_EQ(sent().size(), 1u);
  Received answer(reply(client_ip, carried).vlan(20).frame(), server_port);
  answer.skp()->upper = std::exchange(answer.skp()->ud_hdr, nullptr);
  ASSERT_EQ(dhcp6_relay_packet_process(answer.skp()), 0);
  const auto frames = device().take_sent();
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_THAT(frames[0].ports, ElementsAre(client_port));
  const Reply6 seen(frames[0].bytes);
  EXPECT_EQ(seen.faults, "");
  EXPECT_EQ(seen.message, content);
  EXPECT_EQ(seen.to_mac, client_mac);
  EXPECT_EQ(seen.from_mac, own_mac);
  EXPECT_EQ(seen.vlan, 11u);
  EXPECT_EQ(seen.from_ip, ip6("2001:db8:11::1"));
  EXPECT_EQ(seen.to_ip, client_ip);
  EXPECT_EQ(seen.from_port << 16 | seen.to_port, 547u << 16 | 546);
  EXPECT_EQ(listed()[0].replies, 1u);

  EXPECT_EQ(receive(reply(ip6("fe80::dead"), carried)), -1);
  device().mac_table.erase({client_mac, 11});
  EXPECT_EQ(receive(reply(client_ip, carried)), 0) << "nobody knows where the client is now";
}

TEST_F(Relay6, MalformedMessageGoesNowhere) {
  ASSERT_EQ(receive(solicit()), 0);
  sent();
  const Bytes off{0, 9, 0, 4, 1, 2, 3}, second = option6(18, {1}) + carried;
  const auto beyond = static_cast<uint16_t>(8 + 34 + carried.size() + 1);
  const Message6 rows[] = {
      solicit().udp_length(7), solicit().udp_length(8 + 4 + 7 + 1),
      further(0, {}),          further(0, {0, 9, 0}),
      further(0, second),      further(0, carried).udp_length(8 + 33),
      further(0, off),         further(0, carried).udp_length(beyond),
      reply(client_ip, {}),    reply(client_ip, second),
      reply(client_ip, off),   reply(client_ip, carried).udp_length(beyond),
  };
  for (const Message6& message : rows) {
    EXPECT_EQ(receive(Message6(message).from_ip(ip6("fe80::bad"))), -1) << &message - rows;
    EXPECT_TRUE(sent().empty()) << &message - rows;
  }
  EXPECT_EQ(counted().clients, 1u) << "a refused sender is not remembered";
}

TEST_F(Relay6, DestinationSaysWhereAFrameLeaves) {
  remove(server);
  EXPECT_EQ(receive(solicit()), 0) << "remembered though there is nobody to ask";
  EXPECT_EQ(counted().clients, 1u);
  ASSERT_EQ(add("2001:db8:20::dead"), 0) << "waits to be probed, and is passed over";
  ASSERT_EQ(add(server, 7), 0);
  ASSERT_EQ(add(other), 0);
  device().mac_table.erase({other_mac, 20});
  ASSERT_EQ(receive(solicit()), 0);
  const auto out = device().take_sent();
  ASSERT_EQ(out.size(), 1u);
  EXPECT_THAT(out[0].ports, ElementsAre(7u));
  EXPECT_EQ(counted().unknown_destination, 1u);

  device().vlan_interfaces[20].ip6.clear();
  EXPECT_EQ(receive(solicit()), -1) << "no address to speak from";
  device().vlan_interfaces[20].ip6 = "2001:db8:20::1";
  exit_dhcp6_relay_cfg();
  ASSERT_EQ(add(server), 0);
  EXPECT_EQ(receive(solicit()), -1) << "nowhere to build it";
}

TEST_F(Relay6, MulticastFrameIsFloodedUnlessItsInterfaceIsGiven) {
  Bytes frame = solicit().frame();
  const auto length = static_cast<uint32_t>(frame.size());
  EXPECT_EQ(dhcp6_relay_send(frame.data(), length, 1, 99, 0), 0);
  EXPECT_EQ(dhcp6_relay_send(frame.data(), length, 1, 99, 5), 0);
  const auto out = device().take_sent();
  EXPECT_EQ(out.at(0).mode * 100 + static_cast<int>(out[0].ports.size()), 28) << "every port, no group";
  EXPECT_EQ(out[0].vlan, 10u) << "the tag's, not the one that was said";
  EXPECT_THAT(out.at(1).ports, ElementsAre(5u));
}

}  // namespace
