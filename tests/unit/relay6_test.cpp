/// The DHCPv6 relay's frames, both ways.
#include <thread>

#include "tests/unit/relay6_bench.h"

namespace {

using namespace wire;
using bench::device;
using testing::ElementsAre;

class Relay6 : public bench::Relay6Bench {
 protected:
  static constexpr const char *server = "2001:db8:20::5", *other = "2001:db8:20::6";
  static inline const Ip6 client_ip = ip6("fe80::2"), further_link = ip6("2001:db8:99::1"),
                          further_peer = ip6("fe80::99");
  static inline const Bytes content{7, 1, 2, 3, 0, 1, 0, 1, 0xcc};

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
};

TEST_F(Relay6, RequestGoesOutInsideARelayForward) {
  ASSERT_EQ(receive(solicit()), 0);
  const auto frames = device().take_sent();
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_THAT(frames[0].ports, ElementsAre(server_port));
  EXPECT_EQ(frames[0].mode, 2);
  EXPECT_EQ(frames[0].vlan, 20u);
  const Bytes message = Bytes{12, 0} + bytes_of(ip6("2001:db8:20::1")) + bytes_of(client_ip) +
                        option6(9, Bytes{1, 0x12, 0x34, 0x56} + option6(1, {1, 2, 3}));
  const auto length = static_cast<uint8_t>(8 + message.size());
  const Bytes head = Bytes(server_mac.begin(), server_mac.end()) + Bytes(own_mac.begin(), own_mac.end()) +
                     Bytes{0x81, 0, 0, 20, 0x86, 0xdd, 0x60, 0, 0, 0, 0, length, 17, 64} +
                     bytes_of(ip6("2001:db8:20::1")) + bytes_of(ip6(server)) + Bytes{0x02, 0x22, 0x02, 0x23, 0, length};
  EXPECT_EQ(Reply6(frames[0].bytes).faults, "") << "checksum and lengths";
  Bytes seen = frames[0].bytes;
  seen.erase(seen.begin() + 64, seen.begin() + 66);
  EXPECT_EQ(seen, head + message);
  EXPECT_EQ(listed()[0].requests, 1u);
}

TEST_F(Relay6, EveryTypeHasItsWay) {
  for (int type = 0; type < 16; ++type) {
    const bool relayed = (type >= 1 && type <= 11 && type != 2 && type != 7 && type != 10);
    if (type == RELAY_FORW6 || type == RELAY_REPL6) continue;
    EXPECT_EQ(receive(Message6(type, client_mac)), 0);
    EXPECT_EQ(sent().size(), relayed ? 1u : 0u) << type;
  }
  EXPECT_EQ(met(DHCP6_RELAY_IGNORED), 6u);
  EXPECT_EQ(receive(solicit().untagged()), -1);
  EXPECT_EQ(met(DHCP6_RELAY_UNTAGGED), 1u);
}

TEST_F(Relay6, FurtherRelayIsReplacedAndFoundAgain) {
  ASSERT_EQ(add(other), 0);
  Received request(further(5, option6(9, content) + option6(18, {9})).vlan(11).frame(), client_port);
  ASSERT_EQ(receive(request), 0);
  EXPECT_EQ(request.bytes()[67], 7) << "raised once for each destination";
  auto out = sent();
  ASSERT_EQ(out.size(), 2u);
  for (const Reply6& forward : out) {
    EXPECT_EQ(forward.peer, client_ip) << "not the further relay's peer";
    EXPECT_EQ(forward.link, ip6("2001:db8:20::1"));
    EXPECT_THAT(forward.codes(), ElementsAre(9));
    EXPECT_EQ(forward.option(9), content);
  }
  EXPECT_EQ(out[0].hops, 5u);
  EXPECT_EQ(out[1].hops, 6u);

  for (const int hops : {4, 0}) {
    Received answer(reply(client_ip, option6(9, content), hops).frame(), server_port);
    ASSERT_EQ(receive(answer), 0);
    EXPECT_EQ(answer.bytes()[67], hops == 0 ? 0 : hops - 1);
    out = sent();
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].type, RELAY_REPL6);
    EXPECT_EQ(out[0].hops, static_cast<uint32_t>(hops));
    EXPECT_EQ(out[0].link, further_link);
    EXPECT_EQ(out[0].peer, further_peer);
    EXPECT_EQ(out[0].option(9), content);
    EXPECT_EQ(out[0].vlan, 11u);
  }
  EXPECT_EQ(met(DHCP6_RELAY_REPLY_TO_RELAY), 2u);
  // The same sender as a client: its block is forgotten.
  ASSERT_EQ(receive(solicit().vlan(11)), 0);
  ASSERT_EQ(receive(reply(client_ip, option6(9, content))), 0);
  EXPECT_EQ(sent().back().message, content);
}

TEST_F(Relay6, ReplyReachesTheClientInItsVlan) {
  ASSERT_EQ(receive(solicit().vlan(0xa00b)), 0);
  ASSERT_EQ(sent().size(), 1u);
  Received answer(reply(client_ip, option6(9, content), 3).frame(), server_port);
  answer.skp()->upper = std::exchange(answer.skp()->ud_hdr, nullptr);
  ASSERT_EQ(receive(answer), 0);
  EXPECT_EQ(answer.bytes()[67], 3) << "only a further relay's reply is counted down";
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
  EXPECT_EQ(seen.hop_limit, 64u);
  EXPECT_EQ(listed()[0].replies, 1u);

  EXPECT_EQ(receive(reply(ip6("fe80::dead"), option6(9, content))), -1);
  EXPECT_EQ(device().logged_at("packet,dhcp6 relay get info table failed!\n", "dhcpc"), 1);
  device().mac_table.erase({client_mac, 11});
  EXPECT_EQ(receive(reply(client_ip, option6(9, content))), 0) << "nobody knows where the client is now";
}

TEST_F(Relay6, MalformedMessageGoesNowhere) {
  ASSERT_EQ(receive(solicit()), 0);
  sent();
  const Bytes off{0, 9, 0, 4, 1, 2, 3}, edge = option6(9, content);
  const char *invalid_forward = "packet, Invalid Dhcpv6 relay forward packet!\n",
             *invalid_reply = "packet,Invalid Dhcpv6 relay reply packet!\n",
             *invalid_length = "packet,Invalid packet length of received dhcp";
  const auto beyond = static_cast<uint16_t>(8 + 34 + edge.size() + 1);
  struct {
    Message6 message;
    const char* text;
  } rows[] = {
      {solicit().udp_length(7), invalid_length},
      {solicit().udp_length(8 + 4 + 7 + 1), invalid_length},
      {further(0, {}), invalid_forward},
      {further(0, {0, 9, 0}), invalid_forward},
      {further(0, option6(18, {1}) + edge), invalid_forward},
      {further(0, edge).udp_length(8 + 33), invalid_forward},
      {further(0, off), invalid_length},
      {further(0, edge).udp_length(beyond), invalid_length},
      {reply(client_ip, {}), invalid_reply},
      {reply(client_ip, option6(18, {1}) + edge), invalid_reply},
      {reply(client_ip, off), invalid_length},
      {reply(client_ip, edge).udp_length(beyond), invalid_length},
  };
  for (const auto& [message, text] : rows) {
    const int before = device().logged_at(text, "dhcpc"), row = static_cast<int>(&message - &rows[0].message);
    EXPECT_EQ(receive(Message6(message).from_ip(message.frame()[0] == 0x33 ? ip6("fe80::bad") : client_ip)), -1) << row;
    EXPECT_EQ(device().logged_at(text, "dhcpc"), before + 1) << row;
    EXPECT_TRUE(sent().empty()) << row;
  }
  EXPECT_EQ(met(DHCP6_RELAY_REQUEST_MALFORMED), 8u);
  EXPECT_EQ(met(DHCP6_RELAY_REPLY_MALFORMED), 4u);
  EXPECT_EQ(gDhcp6Relay.info_count.load(), 1) << "a refused sender is not remembered";
}

TEST_F(Relay6, LongestMessageIsCarriedWhole) {
  const Bytes longest(1500, 0xa5);
  ASSERT_EQ(receive(Message6(REQUEST6, client_mac, option6(16, longest))), 0);
  const auto out = sent();
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].option(9), (Bytes{3, 0x12, 0x34, 0x56} + option6(16, longest)));
}

TEST_F(Relay6, DestinationSaysWhereAFrameLeaves) {
  gDhcp6Relay.dev_mac_valid = 0;
  remove(server);
  EXPECT_EQ(receive(solicit()), 0) << "remembered though there is nobody to ask";
  EXPECT_EQ(met(DHCP6_RELAY_REQUEST_NO_DESTINATION), 1u);
  EXPECT_EQ(gDhcp6Relay.info_count.load(), 1);
  ASSERT_EQ(add("2001:db8:20::dead"), 0) << "waits to be probed, and is passed over";
  ASSERT_EQ(add(server, 7), 0);
  ASSERT_EQ(add(other), 0);
  device().mac_table.erase({other_mac, 20});
  ASSERT_EQ(receive(solicit()), 0);
  const auto out = device().take_sent();
  ASSERT_EQ(out.size(), 1u);
  EXPECT_THAT(out[0].ports, ElementsAre(7u));
  Dhcp6RelayCounters counters{};
  dhcp6_relay_get_counters(&counters);
  EXPECT_EQ(counters.unknown_destination, 1u);

  device().vlan_interfaces[20].ip6.clear();
  EXPECT_EQ(receive(solicit()), -1) << "no address to speak from";
  EXPECT_EQ(met(DHCP6_RELAY_REQUEST_NOT_BUILT), 1u);
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
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0].mode * 100 + static_cast<int>(out[0].ports.size()), 28) << "every port, no group";
  EXPECT_EQ(out[0].vlan, 10u) << "the tag's, not the one that was said";
  EXPECT_EQ(out[1].mode, 2);
  EXPECT_THAT(out[1].ports, ElementsAre(5u));
  frame[12] = 0x08;
  EXPECT_EQ(dhcp6_relay_send(frame.data(), length, 1, 10, 0), -1);
}

TEST_F(Relay6, DestinationsComeAndGoWhileFramesFlow) {
  std::atomic<bool> stop{false};
  std::thread host([&] {
    while (!stop) {
      remove(other);
      add(other);
      (void)listed();
    }
  });
  for (int i = 0; i < 300; ++i) EXPECT_EQ(receive(solicit()), 0);
  stop = true;
  host.join();
  EXPECT_GE(sent().size(), 300u);
}

TEST_F(Relay6, SwitchOpensAndClosesTheTrap) {
  int on = 9;
  EXPECT_EQ(get_dhcp6_relay_start(&on), 0);
  EXPECT_EQ(on, 0);
  EXPECT_EQ(set_dhcp6_relay_start(1), 0);
  EXPECT_EQ(device().rules().size(), 2u);
  EXPECT_EQ(set_dhcp6_relay_start(1), 0);
  EXPECT_EQ(set_dhcp6_relay_start(0), 0);
  EXPECT_TRUE(device().rules().empty());
}

}  // namespace
