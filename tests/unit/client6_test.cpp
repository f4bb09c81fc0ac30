/// The DHCPv6 client: its machine second by second, the answers it takes and those it does not, its interfaces.
#include "client6/client6.h"

#include "base/list.h"
#include "client6/counters.h"
#include "dhcp/packet6.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace {

using bench::Bytes;
using bench::device;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using wire::Message6;
using wire::option6;
using wire::Reply6;
using wire::operator+;

const wire::Ip6 leased = wire::ip6("2001:db8::5"), server_ip = wire::ip6("fe80::99");
constexpr bench::Mac server_mac{2, 0, 0, 0, 0, 0x99};
const Bytes own_id{0, 3, 0, 1, 2, 0, 0, 0, 0, 1}, server_id{0, 2, 0, 0, 1, 2, 3};
const Bytes wanted{0, 17, 0, 23, 0, 24, 0, 39};
constexpr uint32_t t1 = 100, t2 = 160, valid = 300;

class Client6 : public bench::DeviceBench {
 protected:
  void SetUp() override {
    DeviceBench::SetUp();
    at(0);
    dhcp6c_init();
    dhcp6c_clear_counters();
  }
  void TearDown() override {
    fake::fail_allocations(0);
    dhcp6c_init();
    EXPECT_EQ(dhcpc6_golbal_config.node_count, 0);
    EXPECT_TRUE(dhcp::base::list_empty(dhcpc6_golbal_config.nodes));
    EXPECT_EQ(dhcpc6_golbal_config.busy, 0u);
  }

  static Dhcp6cInterfaceNode& node(uint32_t vlan = 10) { return *dhcp6c_find_interface_node(vlan); }
  /// One second passes; the types of what was sent in it.
  std::vector<int> second() {
    ++device().now;
    dhcp::client6::pass();
    std::vector<int> types;
    for (const fake::Sent& sent : device().take_sent()) {
      const Reply6 message(sent.bytes);
      EXPECT_EQ(message.faults, "");
      types.push_back(static_cast<int>(message.type));
    }
    return types;
  }
  std::vector<int> seconds(uint32_t count) {
    std::vector<int> types;
    while (count-- > 0) {
      for (const int type : second()) types.push_back(type);
    }
    return types;
  }
  static Bytes ia(const Bytes& inside, uint32_t iaid = 10) { return wire::ia_na(iaid, inside, t1, t2); }
  static Bytes address() { return wire::ia_address(leased, 200, valid); }
  static Bytes ids() { return option6(1, own_id) + option6(2, server_id); }
  static Message6 answer(int type, const Bytes& options, uint32_t vlan = 10) {
    return Message6(type, server_mac, options)
        .xid(node(vlan).xid)
        .vlan(static_cast<uint16_t>(vlan))
        .from_server()
        .from_ip(server_ip)
        .to(fake::Device::default_mac, wire::ip6("fe80::ff:fe00:1"));
  }
  static int receive(const Message6& message) {
    wire::Received received(message.frame());
    return bench::counted_once(dhcp::client6::frame_counts.view(), received.skp()->in_intf,
                               [&] { return dhcp6_client_packet_process(received.skp()); });
  }
  /// An interface that has been given its address.
  void bind(uint32_t vlan = 10) {
    ASSERT_EQ(dhcp6c_set_interface_ip6_mode(vlan, DHCP6C_MODE_DHCPV6), 0);
    second();
    receive(answer(wire::ADVERTISE6, ids() + ia(address()), vlan));
    receive(answer(wire::REPLY6, ids() + ia(address()), vlan));
    second();
    ASSERT_EQ(node(vlan).state, DHCPC6_BOUND);
  }
  static uint32_t received(Dhcp6cVerdict verdict) {
    Dhcp6cCounters counters;
    dhcp6c_get_counters(&counters);
    return counters.received[verdict];
  }
};

TEST_F(Client6, WithoutAServerBurstsOfThreeAndAPauseThatGrowsToSixtyAndBeginsAgain) {
  dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
  std::vector<uint32_t> times, xids;
  for (uint32_t second = 1; second < 2500; ++second) {
    dhcp::client6::pass();
    for (const fake::Sent& sent : device().take_sent()) {
      times.push_back(second);
      xids.push_back(Reply6(sent.bytes).xid);
    }
  }
  ASSERT_GT(times.size(), 150u);
  for (uint32_t i = 1; i < times.size(); ++i) {
    const uint32_t pause = 5 + (i - 1) % 56;
    EXPECT_EQ(times[i] - times[i - 1], i % 3 == 0 ? pause + 1 : 1) << i;
    EXPECT_EQ(xids[i] == xids[i - 1], i % 3 != 0) << i;
  }
}

TEST_F(Client6, LifeFromSolicitToRelease) {
  dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
  dhcp::client6::pass();
  const auto solicit = device().take_sent();
  ASSERT_THAT(solicit, SizeIs(1));
  EXPECT_THAT(solicit[0].ports, SizeIs(28)) << "every physical port, and no group";
  EXPECT_EQ(solicit[0].mode, 0);
  const Reply6 first(solicit[0].bytes);
  EXPECT_EQ(first.faults, "");
  EXPECT_EQ(std::tie(first.to_mac, first.from_mac, first.vlan),
            std::make_tuple(wire::multicast_mac6, fake::Device::default_mac, 10u));
  EXPECT_EQ(std::tie(first.from_ip, first.to_ip),
            std::make_tuple(wire::ip6("fe80::ff:fe00:1"), wire::ip6("ff02::1:2")));
  EXPECT_EQ(std::tie(first.from_port, first.to_port, first.hop_limit), std::make_tuple(546u, 547u, 64u));
  EXPECT_EQ(first.message, (Bytes{1} + Bytes(first.message.begin() + 1, first.message.begin() + 4)) +
                               option6(1, own_id) + wire::ia_na(10, {}) + option6(6, wanted));

  EXPECT_EQ(receive(answer(wire::ADVERTISE6, ids() + ia(address()))), -1);
  EXPECT_EQ(node().state, DHCPC6_REQUESTING);
  dhcp::client6::pass();
  const Reply6 request(device().take_sent().at(0).bytes);
  EXPECT_EQ(request.xid, first.xid);
  EXPECT_EQ(request.message, (Bytes{3} + Bytes(first.message.begin() + 1, first.message.begin() + 4)) +
                                 option6(1, own_id) + option6(2, server_id) + ia(address()) + option6(6, wanted));

  const Bytes dns = wire::bytes_of(wire::ip6("2001:db8::53")) + wire::bytes_of(wire::ip6("2001:db8::54"));
  receive(answer(wire::REPLY6, ids() + ia(address()) + option6(23, dns + dns) + option6(26, {64, 1})));
  EXPECT_EQ(node().state, DHCPC6_BOUND);
  EXPECT_THAT(second(), IsEmpty());
  EXPECT_THAT(device().calls(), Contains("ip6(10, 2001:db8::5/64, 1)"));

  Dhcp6cInterface seen{};
  ++device().now;
  ASSERT_EQ(dhcp6c_get_interfaces(&seen, 1), 1);
  EXPECT_EQ(std::tie(seen.vlan, seen.state, seen.installed, seen.has_address, seen.prefix_len, seen.dns_count),
            std::make_tuple(10, DHCPC6_BOUND, 1, 1, 64, 2));
  EXPECT_EQ(std::tie(seen.renew_in, seen.rebind_in, seen.expires_in), std::make_tuple(t1 - 1, t2 - 1, valid - 1));
  EXPECT_EQ(seen.dns[1][15], 0x54);

  EXPECT_THAT(seconds(t1 - 1), IsEmpty());
  EXPECT_EQ(node().state, DHCPC6_BOUND) << "T1 has come, not passed";
  EXPECT_THAT(seconds(t2 - t1), ElementsAre(wire::RENEW6, wire::RENEW6));
  EXPECT_EQ(node().state, DHCPC6_RENEW);
  EXPECT_THAT(seconds(3), ElementsAre(wire::REBIND6, wire::REBIND6));
  EXPECT_EQ(node().state, DHCPC6_REBIND);
  receive(answer(wire::REPLY6, ids() + ia(address())));
  EXPECT_THAT(seconds(valid + 1), SizeIs(4)) << "two RENEWs, two REBINDs";
  EXPECT_EQ(node().prefix_len, 64);
  EXPECT_THAT(seconds(3), ElementsAre(wire::RELEASE6, wire::SOLICIT6));
  EXPECT_EQ(device().calls().back(), "ip6(10, none, 0)");
  dhcp::client6::pass();
  EXPECT_THAT(Reply6(device().take_sent().at(0).bytes).option(3), SizeIs(40)) << "it asks for what it had";
}

TEST_F(Client6, RestartedByHandKeepsItsAddressInPlace) {
  EXPECT_EQ(dhcp6c_manual_set_renew_state(10), -1);
  bind();
  EXPECT_EQ(dhcp6c_manual_set_renew_state(10), 0);
  EXPECT_THAT(seconds(2), ElementsAre(wire::SOLICIT6));
  EXPECT_EQ(device().calls().back(), "ip6(10, 2001:db8::5/0, 1)");
}

TEST_F(Client6, TimesOfZeroNeverComeAndAClockSetBackLetsNothingPass) {
  bind();
  node().t1 = 0;
  node().valid_lifetime = 0;
  device().now += 0x7000'0000;
  EXPECT_THAT(seconds(2), IsEmpty());
  node().valid_lifetime = 0xffffffff;
  EXPECT_THAT(seconds(2), IsEmpty());
  node().t1 = t1;
  node().valid_lifetime = valid;
  device().now = node().bound_time - 1000;
  EXPECT_THAT(seconds(2), IsEmpty());
  EXPECT_EQ(node().state, DHCPC6_BOUND);
}

TEST_F(Client6, EndOfALifetimeEndsThePass) {
  bind(20);
  bind(10);
  node(20).bound_time = node(10).bound_time;
  seconds(valid + 1);
  EXPECT_EQ(node(10).state, DHCPC6_RELEASE);
  EXPECT_EQ(node(20).state, DHCPC6_REBIND) << "a second behind";
  EXPECT_THAT(second(), ElementsAre(wire::RELEASE6));
  EXPECT_EQ(node(20).state, DHCPC6_RELEASE);
}

TEST_F(Client6, AddressThatCannotBeHadIsReleasedAtOnce) {
  for (const bool refused_by_device : {true, false}) {
    device().ip6_answer = refused_by_device ? -1 : 0;
    dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
    second();
    receive(answer(wire::ADVERTISE6, ids() + ia(address())));
    receive(answer(wire::REPLY6, ids() + ia(refused_by_device ? address() : option6(13, {0, 3}))));
    EXPECT_THAT(second(), IsEmpty());
    EXPECT_EQ(node().state, DHCPC6_RELEASE);
    EXPECT_THAT(seconds(2), ElementsAre(wire::RELEASE6, wire::SOLICIT6));
    dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_STATIC);
  }
  EXPECT_EQ(device().logged("DHCPv6 obain ipv6 address success\n"), 2) << "whatever became of it";
}

TEST_F(Client6, AdvertiseAfterTheLastSolicitOfABurstComesTooLate) {
  dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
  seconds(3);
  receive(answer(wire::ADVERTISE6, ids() + ia(address())));
  EXPECT_THAT(second(), IsEmpty());
  EXPECT_EQ(node().state, DHCPC6_INIT);
  EXPECT_THAT(second(), ElementsAre(wire::SOLICIT6));
}

TEST_F(Client6, AnswersAreTakenByTheirRules) {
  const Bytes failure = option6(13, {0, 2}), success = option6(13, {0, 0}), cut = option6(13, {0});
  const Bytes client = option6(1, own_id), server = option6(2, server_id), leases = ia(address());
  const Bytes good = client + server + leases;
  const struct {
    const char* name;
    int state, type;
    Bytes options;
    Dhcp6cVerdict verdict;
    int state_after;
  } rows[] = {
      {"another client", 1, 7, option6(1, server_id) + server + ia({}), DHCP6C_NOT_OURS, 1},
      {"a longer identifier", 1, 7, option6(1, own_id + Bytes{0}) + server + ia({}), DHCP6C_NOT_OURS, 1},
      {"no client id", 1, 7, server + leases, DHCP6C_NO_OPTION, 1},
      {"no server id", 1, 7, client + leases, DHCP6C_NO_OPTION, 1},
      {"no IA", 1, 7, client + server, DHCP6C_NO_OPTION, 1},
      {"an IA_TA", 1, 7, ids() + wire::ia_ta(10, address()), DHCP6C_NO_OPTION, 1},
      {"a cut IA", 1, 7, ids() + option6(3, Bytes(11)), DHCP6C_NO_OPTION, 1},
      {"a RECONFIGURE", 1, 10, good, DHCP6C_OTHER_TYPE, 1},
      {"ADVERTISE to one bound", 2, 2, ids() + ia({}), DHCP6C_NOT_AWAITED, 2},
      {"ADVERTISE while requesting", 1, 2, ids() + ia({}), DHCP6C_NOT_AWAITED, 1},
      {"REPLY in INIT", 0, 7, good, DHCP6C_NOT_AWAITED, 0},
      {"REPLY to one bound", 2, 7, good, DHCP6C_NOT_AWAITED, 2},
      {"a failure while requesting", 1, 7, good + failure, DHCP6C_REFUSED, 0},
      {"a failure in RENEW", 3, 7, good + failure, DHCP6C_REFUSED, 3},
      {"a failure in REBIND", 4, 7, good + failure, DHCP6C_REFUSED, 4},
      {"a success", 3, 7, good + success, DHCP6C_REPLY_TAKEN, 2},
      {"half a status", 4, 7, good + cut, DHCP6C_REPLY_TAKEN, 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    bind();
    node().state = row.state;
    node().ticks = 0;
    const auto before = received(row.verdict);
    EXPECT_EQ(receive(answer(row.type, row.options)), row.verdict == DHCP6C_OTHER_TYPE ? 0 : -1);
    EXPECT_EQ(received(row.verdict), before + 1);
    EXPECT_EQ(node().state, row.state_after);
    EXPECT_EQ(node().address == nullptr, row.verdict == DHCP6C_REFUSED);
    if (row.verdict == DHCP6C_REFUSED && row.state_after != DHCPC6_INIT) {
      EXPECT_THAT(seconds(3), IsEmpty());
    }
    dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_STATIC);
  }
}

TEST_F(Client6, AnswersOfOthersAreLeft) {
  bind();
  const Bytes good = ids() + ia(address());
  for (const Message6& other :
       {answer(7, good).xid(node().xid ^ 1), answer(7, good).vlan(11), answer(7, good).untagged()}) {
    node().state = DHCPC6_RENEW;
    EXPECT_EQ(receive(other), -1);
    EXPECT_EQ(node().state, DHCPC6_RENEW);
  }
  EXPECT_EQ(received(DHCP6C_NOT_OURS), 2u);
}

TEST_F(Client6, AnswerForWhichThereIsNoMemoryChangesNothing) {
  bind();
  node().state = DHCPC6_INIT;
  const Bytes other = wire::ia_address(wire::ip6("2001:db8::6"), 1, 2);
  for (int after = 0; after < 3; ++after) {
    fake::fail_allocations(1, after);
    EXPECT_EQ(receive(answer(wire::ADVERTISE6, option6(1, own_id) + option6(2, {9, 9}) + ia(other))), -1);
    EXPECT_EQ(node().state, DHCPC6_INIT);
    EXPECT_EQ(Bytes(node().server_id + 4, node().server_id + 11), server_id);
    EXPECT_EQ(Bytes(node().ia + 20, node().ia + 36), wire::bytes_of(leased));
    EXPECT_EQ(node().valid_lifetime, valid);
  }
}

TEST_F(Client6, ModesOfAnInterface) {
  EXPECT_EQ(dhcp6c_set_interface_ip6_mode(10, 3), -1);
  bind();
  EXPECT_EQ(dhcp6c_set_interface_ip6_mode(0x1000a, DHCP6C_MODE_DHCPV6), 0) << "sixteen bits count";
  EXPECT_EQ(node().state, DHCPC6_BOUND) << "the same mode again keeps the lease";
  node().mode = DHCP6C_MODE_STATIC;
  node().state = DHCPC6_RENEW;
  EXPECT_THAT(second(), IsEmpty()) << "static ones are passed by";
  dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
  EXPECT_THAT(second(), ElementsAre(wire::SOLICIT6)) << "it begins anew";
  EXPECT_EQ(dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_STATIC), 0);
  EXPECT_EQ(device().calls().back(), "ip6(10, none, 0)");
  EXPECT_EQ(dhcpc6_golbal_config.node_count, 0);
}

TEST_F(Client6, MessageThatDoesNotFitIsNotSent) {
  bind();
  dhcp::client6::keep(node().server_id, std::unique_ptr<uint8_t[]>(new uint8_t[1004]{0, 2, 3, 0xe8}));
  node().state = DHCPC6_RENEW;
  EXPECT_THAT(second(), IsEmpty());
  EXPECT_EQ(node().ticks, 1) << "the machine goes on";
}

}  // namespace
