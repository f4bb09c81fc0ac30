/// Requests and replies through the relay, byte for byte, in every tag mode and with every switch of option 82.
#include "tests/unit/relay_bench.h"
#include "tests/unit/wire6.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::ip;
using bench::Mac;
using bench::sealed;
using bench::with;
using testing::ElementsAre;
using wire::operator+;

const Bytes clients_option82{82, 4, 1, 2, 'x', 'y'};

class RelayForward : public bench::RelayBench {
 protected:
  void SetUp() override {
    RelayBench::SetUp();
    DHCPR_set_dhcp_option82_switch(0);
  }
  static Bytes bytes_of(const Mac& mac) { return {mac.begin(), mac.end()}; }
  /// The client's request as it must reach a helper in VLAN 20.
  static Bytes routed(const wire::Message& message, const Mac& to, uint32_t to_ip) {
    Bytes frame = message.frame();
    const auto put = [&frame](size_t offset, const Bytes& bytes) { frame = with(frame, offset, bytes); };
    put(0, bytes_of(to));
    put(6, bytes_of(own_mac));
    put(14, {0, 20});
    put(30, wire::be32(relay_ip));
    put(34, wire::be32(to_ip));
    put(44, {0, 0});
    put(49, {static_cast<uint8_t>(frame[49] + 1)});
    put(70, wire::be32(relay_ip));
    return sealed(frame);
  }
};

TEST_F(RelayForward, RoutedRequestReachesEveryHelperWhoseMacIsKnown) {
  device().arp_hosts[other_server] = other_mac;
  start_routing();
  ASSERT_EQ(DHCPR_set_dhcp_serverip(1, ip(10, 20, 0, 9)), 0) << "listed, though nobody answers there";
  ASSERT_EQ(DHCPR_set_dhcp_serverip(1, other_server), 0);
  const auto request = discover().vlan(10 | 5 << 13).at(3, {4});  // a priority that goes no further; four hops
  ASSERT_EQ(receive(request), 0);
  const auto sent = device().take_sent();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].bytes, routed(request, server_mac, server_ip));
  EXPECT_EQ(sent[1].bytes, routed(request, other_mac, other_server)) << "one hop more than the client's, not two";
  for (const auto& frame : sent) {
    EXPECT_THAT(frame.ports, ElementsAre(uplink));
    EXPECT_EQ(frame.vlan, 20u);
    EXPECT_EQ(frame.mode, 4);
  }
  EXPECT_EQ(met(DHCPR_REQUEST_ROUTED), 1u);
  EXPECT_EQ(helper(other_server).requests, 1u);
  EXPECT_EQ(device().logged("send a dhcp packet:vlan(20),from_port(3) l3_flag(1),request\n", "dhcp_relay"), 2);
}

TEST_F(RelayForward, ChosenServerAloneIsAskedEvenWithoutItsMac) {
  device().arp_hosts[other_server] = other_mac;
  start_routing();
  ASSERT_EQ(DHCPR_set_dhcp_serverip(1, other_server), 0);
  device().arp_hosts.erase(other_server);
  at(400);
  dhcp_server_node_timeout_check();
  const auto chosen = wire::Message(wire::REQUEST, client).ip_option(54, other_server);
  EXPECT_EQ(receive(chosen), 0);
  EXPECT_TRUE(device().take_sent().empty()) << "nobody is known to have no MAC";
  EXPECT_EQ(helper(server_ip).requests, 0u);
  EXPECT_EQ(helper(other_server).requests, 1u);
  // An identifier that is no helper's, and one that stands in the file field by option overload.
  EXPECT_EQ(receive(wire::Message(wire::REQUEST, client).ip_option(54, ip(192, 0, 2, 1))), 0);
  EXPECT_EQ(device().take_sent().size(), 1u);
  const auto hidden = wire::Message(wire::REQUEST, client).option(52, {1}).at(108, {54, 4, 10, 20, 0, 6, 255});
  EXPECT_EQ(receive(hidden), 0);
  EXPECT_EQ(helper(other_server).requests, 2u);
}

TEST_F(RelayForward, RoutePortModesChangeTheTagAlone) {
  ASSERT_EQ(DHCPR_start(1), 0);
  const auto request = discover().vlan(10 | 5 << 13);
  for (const auto& [mode, vlan] : {std::pair{0, 10u}, std::pair{2, 30u}}) {
    DHCPR_set_route_vlan(mode, 30);
    DHCPR_set_route_port(mode == 0 ? 24 : 7);
    EXPECT_EQ(receive(request), 0);
    const auto sent = device().take_sent();
    ASSERT_EQ(sent.size(), 1u) << mode;
    EXPECT_EQ(sent[0].bytes, mode == 0 ? request.frame() : with(request.frame(), 14, {0, 30}));
    EXPECT_THAT(sent[0].ports, ElementsAre(mode == 0 ? 24 : 7));
    EXPECT_EQ(sent[0].vlan, vlan);
    EXPECT_EQ(sent[0].mode, 2);
  }
  DHCPR_set_route_vlan(1, 0);
  EXPECT_EQ(receive(request), 0);
  EXPECT_TRUE(device().take_sent().empty()) << "built for the helpers, of whom there are none";
}

/// Trust, switch and what the client brought, against what goes on.
TEST_F(RelayForward, Option82FollowsTrustSwitchAndClient) {
  ASSERT_EQ(DHCPR_start(1), 0);
  const Bytes own = own_option82(), type{53, 1, 1};
  const Bytes plain = type + Bytes{255, 0, 0}, tail{12, 0, 255}, one = type + Bytes{0} + clients_option82 + tail,
              two = clients_option82 + type + clients_option82 + Bytes{255};
  const struct {
    int trust, insert;
    Bytes options, expected;
  } rows[] = {
      {1, 1, plain, type + own + Bytes{255, 0, 0}},
      {1, 0, plain, plain},
      {0, 1, plain, plain},
      {0, 0, plain, plain},
      {2, 1, plain, plain},
      {1, 1, one, one},
      {1, 0, one, one},
      {0, 1, one, type + Bytes{0} + own + tail},
      {0, 0, one, type + Bytes{0} + own + tail},
      {0, 0, two, own + type + own + Bytes{255}},
  };
  const auto request = [](const Bytes& options) { return wire::Message(0, client).raw_options(options); };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "trust " << row.trust << " switch " << row.insert);
    DHCPR_set_trust(row.trust);
    DHCPR_set_dhcp_option82_switch(row.insert);
    EXPECT_EQ(receive(request(row.options)), 0);
    const auto sent = device().take_sent();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].bytes, request(row.expected).frame());
  }
  DHCPR_set_trust(2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(receive(request(one)), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "error config (trust switch 2)\r\n");
}

TEST_F(RelayForward, WhatIsNoWholeRequestGoesNowhere) {
  start_routing();
  device().mac_is_unknown = true;
  EXPECT_EQ(receive(discover()), -1) << "none leaves without the device's own MAC";
  device().mac_is_unknown = false;
  for (const auto& message : {discover().untagged(), discover().at(236, {0}), discover().raw_options({53, 1, 1}),
                              discover().raw_options({53, 1, 1, 82}), discover().raw_options({53, 1, 1, 82, 3, 1, 1}),
                              discover().raw_options(Bytes(1800, 0))}) {
    EXPECT_EQ(receive(message), -1);
  }
  EXPECT_EQ(met(DHCPR_REQUEST_MALFORMED), 5u);
  Bytes long_one(1750, 0);
  long_one.back() = 255;
  EXPECT_EQ(receive(discover().raw_options(long_one)), 0) << "2036 bytes fit";
  DHCPR_set_dhcp_option82_switch(1);
  EXPECT_EQ(receive(discover().raw_options(long_one)), -1) << "with option 82 they do not";
  device().vlan_interfaces.erase(20);
  EXPECT_EQ(receive(discover()), -1) << "no address to send from";
  delete[] std::exchange(dhcpr_cfg.send_buf, nullptr);
  EXPECT_EQ(receive(discover()), -1) << "stopped";
  EXPECT_EQ(dhcpr_cfg.info_count, 1) << "only what was relayed is remembered";
}

TEST_F(RelayForward, ReplyGoesBackToTheClientsVlanAsItWished) {
  start_routing();
  const auto answer = from_server(wire::OFFER).vlan(20 | 3 << 13);
  for (const bool to_all : {false, true}) {
    EXPECT_EQ(receive(to_all ? discover().broadcast_flag() : discover(), port), 0);
    device().take_sent();
    wire::Received received(answer.frame(), uplink);
    EXPECT_EQ(dhcpr_packet_process(received.skp()), 0);
    Bytes expected = with(answer.frame(), 0, to_all ? Bytes(6, 0xff) : bytes_of(client));
    expected = with(expected, 6, bytes_of(own_mac));
    expected = with(expected, 14, {3 << 5, 10});  // the priority stays
    expected = with(expected, 30, wire::be32(relay_ip));
    expected = with(expected, 34, to_all ? Bytes(4, 0xff) : Bytes{10, 10, 0, 77});
    expected = with(expected, 40, {0, 68});
    expected = sealed(with(with(expected, 44, {0, 0}), 49, {1}));
    const auto sent = device().take_sent();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].bytes, expected);
    EXPECT_EQ(sent[0].vlan, 10u);
    EXPECT_EQ(sent[0].mode, to_all ? 0 : 4);
    EXPECT_EQ(sent[0].ports.size(), to_all ? 36u : 1u);
  }
  EXPECT_EQ(helper(server_ip).replies, 2u);
}

TEST_F(RelayForward, RepliesThatAreNoHelpersOrNoClientsKeepTheirHeaders) {
  start_routing();
  receive(discover());
  device().take_sent();
  const auto foreign = from_server(wire::OFFER, ip(192, 0, 2, 1)).unicast_to(client, ip(10, 10, 0, 77));
  EXPECT_EQ(receive(foreign, uplink), 0);
  auto sent = device().take_sent();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].bytes, with(foreign.frame(), 14, {0, 10})) << "the tag alone is the client's";
  // A client that is not known: on in the reply's own VLAN, unless the device itself is meant.
  const auto unknown = from_server(wire::OFFER).at(28, {0x02, 9, 9, 9, 9, 9});
  const auto flooded = wire::Message(unknown).unicast_to(wire::broadcast_mac, wire::broadcast_ip);
  EXPECT_EQ(receive(unknown, uplink), 0);
  EXPECT_EQ(receive(flooded, uplink), 0);
  sent = device().take_sent();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].bytes, flooded.frame());
  EXPECT_EQ(sent[0].mode, 0);
  EXPECT_EQ(sent[0].vlan, 20u);
}

/// Unknown MACs, member ports of groups, and ingress from a group.
TEST_F(RelayForward, PortOfADestinationIsItsGroupUnlessTheFrameCameFromOne) {
  start_routing();
  device().group_of_port[uplink] = 2;
  receive(discover());
  receive(discover(), group);
  const auto sent = device().take_sent();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_THAT(sent[0].ports, ElementsAre(group));
  EXPECT_THAT(sent[1].ports, ElementsAre(uplink));
  device().mac_table.clear();
  EXPECT_EQ(receive(discover()), 0);
  EXPECT_TRUE(device().take_sent().empty());
}

/// Tags of a frame that is handed over to be sent: how many, and whose VLAN counts.
TEST_F(RelayForward, SendFollowsTheTags) {
  ASSERT_EQ(DHCPR_start(1), 0);
  const struct {
    Bytes tags;
    int result;
    uint32_t vlan;
  } rows[] = {
      {{0x81, 0, 0x20, 11, 8, 0}, 0, 11},
      {{0x91, 0, 0, 9, 0x81, 0, 0, 12, 8, 0}, 0, 12},
      {{0x81, 0, 0, 9, 0x81, 0, 0, 13, 8, 0}, 0, 13},
      {{0x91, 0, 0, 9, 0x81, 0, 0, 9, 0x81, 0, 0, 14, 8, 0}, 0, 14},
      {{0x81, 0, 0, 9, 0x81, 0, 0, 9, 0x81, 0, 0, 9, 8, 0}, -1, 0},
      {{0x91, 0, 0, 9, 8, 0, 0, 0}, -1, 0},
      {{8, 0, 0x45, 0}, -1, 0},
  };
  for (const auto& row : rows) {
    Bytes frame(12, 0x02);
    frame.insert(frame.end(), row.tags.begin(), row.tags.end());
    Bytes exact(frame);
    EXPECT_EQ(DHCPR_send(-1, exact.data(), static_cast<uint32_t>(exact.size()), port, 10, 0), row.result);
    const auto sent = device().take_sent();
    ASSERT_EQ(sent.size(), row.result == 0 ? 1u : 0u);
    EXPECT_TRUE(sent.empty() || sent[0].vlan == row.vlan);
  }
}

}  // namespace
