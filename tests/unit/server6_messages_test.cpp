/// The DHCPv6 server's answers: what each message gets, byte for byte where it counts, directly and through relays.
#include "tests/unit/server6_bench.h"

namespace {

using namespace wire;
using bench::Ask6;
using bench::device;
using bench::mac_number;

constexpr const char *first = "2001:db8:1::10", *second = "2001:db8:1::11", *unknown = "2001:db8:1::99",
                     *outside = "2001:db8:2::1";

class Server6Messages : public bench::Server6Bench {
 protected:
  /// Client 1 has a lease of the first address, client 2 an offer of the second.
  static void make_clients() {
    make_pool();
    lease(1);
    told({.type = SOLICIT6, .client = 2});
    verdicts();
  }
};

TEST_F(Server6Messages, EveryTypeIsAnsweredByItsRule) {
  const std::string untouched = "(2001:db8:1::11) 2001:db8:1::10", second_only = "(2001:db8:1::11)";
  const struct {
    Ask6 ask;
    std::string answer, verdict, left;
    std::string conflict = "";
  } rows[] = {
      {{SOLICIT6, nullptr, false, 3}, "ADVERTISE 2001:db8:1::12", "advertised", "(2001:db8:1::12) " + untouched},
      {{SOLICIT6, nullptr, true, 3}, "", "server id against the rule", untouched},
      {{SOLICIT6}, "ADVERTISE 2001:db8:1::10", "advertised", "(2001:db8:1::10) (2001:db8:1::11)"},
      {{SOLICIT6, unknown}, "ADVERTISE 2001:db8:1::99", "advertised", "(2001:db8:1::99) (2001:db8:1::11)"},
      {{SOLICIT6, outside, false, 3}, "ADVERTISE 2001:db8:1::12", "advertised", "(2001:db8:1::12) " + untouched},
      {{SOLICIT6, nullptr, false, 3, 4}, "ADVERTISE 2001:db8:1::12", "advertised", "(2001:db8:1::12) " + untouched},
      {{SOLICIT6, nullptr, false, 3, 0}, "", "not sent", untouched},
      {{REQUEST6, second, true, 2}, "REPLY 2001:db8:1::11", "replied with an address", "2001:db8:1::11 2001:db8:1::10"},
      {{REQUEST6, second, false, 2}, "", "server id against the rule", untouched},
      {{REQUEST6, nullptr, true, 2}, "", "no address in the ia", untouched},
      {{REQUEST6, first, true, 2}, "", "no binding", untouched},
      {{CONFIRM6, first}, "REPLY 2001:db8:1::10 status 0", "replied with an address", untouched},
      {{CONFIRM6, unknown}, "", "no binding", untouched},
      {{CONFIRM6, outside}, "REPLY status 4", "replied not on link", untouched},
      {{CONFIRM6}, "", "no address in the ia", untouched},
      {{RENEW6, first, true}, "REPLY 2001:db8:1::10", "replied with an address", untouched},
      {{RENEW6, first, false}, "", "server id against the rule", untouched},
      {{RENEW6, unknown, true}, "REPLY none", "replied without an address", untouched},
      {{RENEW6, unknown, true, 1, 4}, "REPLY none", "replied without an address", untouched},
      {{REBIND6, first}, "REPLY 2001:db8:1::10", "replied with an address", untouched},
      {{REBIND6, first, false, 2}, "REPLY none", "replied without an address", untouched},
      {{REBIND6}, "", "no address in the ia", untouched},
      {{RELEASE6, first, true}, "REPLY status 0", "replied success", second_only},
      {{RELEASE6, first, false}, "", "server id against the rule", untouched},
      {{RELEASE6, nullptr, true}, "", "no address in the ia", untouched},
      {{RELEASE6, unknown, true}, "REPLY none status 0", "replied without an address", untouched},
      {{DECLINE6, first, true}, "REPLY status 0", "replied success", second_only, first},
      {{DECLINE6, unknown, true}, "REPLY none status 0", "replied without an address", untouched, unknown},
      {{DECLINE6, unknown, false}, "", "server id against the rule", untouched},
      {{INFORMATION6, first, true}, "", "other message type", untouched},
      {{REPLY6, first, true}, "", "other message type", untouched},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("type " + std::to_string(row.ask.type) + " -> " + row.verdict + " " + row.answer);
    dhcp6_server_del_pool_entry(1);
    dhcp6_server_clear_conflict(nullptr);
    make_clients();
    EXPECT_EQ(told(row.ask), row.answer);
    EXPECT_EQ(verdicts(), row.verdict);
    EXPECT_EQ(bound(), row.left);
    EXPECT_EQ(conflicts(), row.conflict);
  }
}

TEST_F(Server6Messages, AddressThatBecameSomebodyElsesIsNotLeased) {
  make_clients();
  dhcp6_add_conflict_ip(ip6(second).data());
  EXPECT_EQ(told({REQUEST6, second, true, 2}), "");
  device().vlan_interfaces[20] = {.ip6 = first, .prefix6 = 64};
  EXPECT_EQ(told({REQUEST6, first, true, 1}), "");
  EXPECT_EQ(verdicts(), "address taken");
  EXPECT_EQ(bound(), "");
}

TEST_F(Server6Messages, FramesThatAreNotForThisServerAreRefused) {
  make_clients();
  const Ask6 solicit{SOLICIT6, nullptr, false, 3};
  const Bytes ia = ia_na(1, {}), other = option6(2, Bytes(14, 1)), longer = option6(2, server_id() + Bytes{0});
  const Bytes no_udp = message(solicit).frame();
  const Bytes eleven = option6(3, Bytes(11, 0)) + ia_ta(2, {});
  const struct {
    Bytes frame;
    const char* verdict;
  } rows[] = {
      {message(solicit).untagged().frame(), "untagged"},
      {Bytes(no_udp.begin(), no_udp.begin() + 60), "malformed"},
      {message(solicit).vlan(11).frame(), "no pool"},
      {wire::Message6(SOLICIT6, mac_number(3), ia).frame(), "no client id"},
      {message(solicit).udp_length(12).frame(), "no client id"},
      {message({REQUEST6, first, false, 1, 3, other}).frame(), "other server"},
      {message({REQUEST6, first, false, 1, 3, longer}).frame(), "other server"},
      {message({SOLICIT6, nullptr, false, 3, 0, eleven}).frame(), "not sent"},
      {message({SOLICIT6, nullptr, false, 3, 3, option6(13, {})}).frame(), "advertised"},
      {wire::Message6(SOLICIT6, mac_number(3), option6(1, Bytes(900, 7)) + ia).frame(), "not sent"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.verdict);
    answer(row.frame);
    EXPECT_EQ(verdicts(), row.verdict);
  }
  EXPECT_EQ(bound(), "(2001:db8:1::12) (2001:db8:1::11) 2001:db8:1::10");
}

TEST_F(Server6Messages, AnswersAreRightToTheLastByte) {
  make_pool();
  const std::array<Ip6, 2> dns{ip6("2001:db8::53"), ip6("2001:db8::54")};
  ASSERT_EQ(dhcp6_server_set_dns_srv(1, reinterpret_cast<const uint8_t(*)[16]>(dns.data()), 2), 0);
  ASSERT_EQ(dhcp6_server_set_domain_name(1, "a.b"), 0);
  ASSERT_EQ(dhcp6_server_set_domain_name(1, "net"), 0);
  const auto advertise = answer(message({SOLICIT6}).xid(0x123456).frame());
  ASSERT_TRUE(advertise);
  const Bytes identity = option6(1, client_id(1)) + option6(2, server_id());
  const Bytes address = ia_address(ip6(first), 43200, 86400);
  const Bytes pool =
      option6(24, {3, 'a', '.', 'b', 0, 3, 'n', 'e', 't', 0}) + option6(23, bytes_of(dns[0]) + bytes_of(dns[1]));
  EXPECT_EQ(server_id(), (Bytes{0, 1, 0, 1} + be32(start) + Bytes{2, 0, 0, 0, 0, 1}));
  EXPECT_EQ(advertise->message,
            (Bytes{ADVERTISE6, 0x12, 0x34, 0x56} + identity + ia_na(0x01020304, address, 21600, 34560) + pool));
  EXPECT_EQ(advertise->to_mac, mac_number(1));
  EXPECT_EQ(advertise->from_mac, fake::Device::default_mac);
  EXPECT_EQ(advertise->from_ip, ip6("2001:db8:1::1"));
  EXPECT_EQ(advertise->to_ip, wire::Reply6(message({SOLICIT6}).frame()).from_ip);
  EXPECT_EQ((std::array{advertise->vlan, advertise->hop_limit, advertise->from_port, advertise->to_port}),
            (std::array{10u, 64u, 547u, 546u}));

  dhcp6_server_set_pool_lifetime(1, 0xffffffff, 0xffffffff);
  const auto infinite = answer(message({REQUEST6, first, true}).frame());
  ASSERT_TRUE(infinite);
  EXPECT_EQ(infinite->option(3),
            be32(0x01020304) + be32(2147483647) + be32(858993458) + ia_address(ip6(first), 0xffffffff, 0xffffffff));
}

TEST_F(Server6Messages, AnswersThatDoNotFitAreNotSentAndLeaveNothing) {
  make_pool();
  // What is fixed: identifier and server's (4 and 18), an IA with an address (44); the last byte is the 954th.
  const auto with_id = [](size_t size, uint8_t byte) { return option6(1, Bytes(size, byte)) + ia_na(1, {}); };
  EXPECT_NE(answer_text(wire::Message6(SOLICIT6, mac_number(1), with_id(954 - 66, 7)).frame()), "");
  EXPECT_EQ(answer_text(wire::Message6(SOLICIT6, mac_number(2), with_id(955 - 66, 8)).frame()), "");
  EXPECT_EQ(bound(), "(2001:db8:1::10)");
  EXPECT_EQ(bindings()[0].id_len, 128);
  EXPECT_EQ(answer_text(wire::Message6(RENEW6, mac_number(2),
                                       option6(1, Bytes(129, 7)) + option6(2, server_id()) +
                                           ia_na(1, ia_address(ip6(first), 1, 2)))
                            .frame()),
            "REPLY 2001:db8:1::10")
      << "clients are told apart by 128 bytes";
}

class Server6Relayed : public Server6Messages {
 protected:
  void SetUp() override {
    Server6Messages::SetUp();
    make_pool(2, "2001:db8:7::10", 0, "2001:db8:7::1f");
    device().vlan_interfaces[10].ip6 = "";
  }
  static wire::Message6 forwarded(const Bytes& options, const char* link = "2001:db8:7::1", int type = RELAY_FORW6) {
    return wire::Message6::relayed(type, mac_number(9), 3, ip6(link), ip6("fe80::77"), options).from_ip(ip6("fe80::9"));
  }
  static Bytes carrying(const Ask6& ask) {
    const auto frame = message(ask).frame();
    return option6(9, Bytes(frame.begin() + 66, frame.end()));
  }
};

TEST_F(Server6Relayed, AnswerGoesBackTheWayItCame) {
  const Bytes id = option6(18, {'g', 'e', '1'});
  const auto reply = answer(forwarded(id + carrying({SOLICIT6})).frame());
  ASSERT_TRUE(reply);
  EXPECT_EQ(Bytes(reply->message.begin(), reply->message.begin() + 34),
            Bytes({RELAY_REPL6, 3}) + bytes_of(ip6("2001:db8:7::1")) + bytes_of(ip6("fe80::77")));
  EXPECT_EQ(reply->codes(), (std::vector{9, 18}));
  EXPECT_EQ(reply->option(18), (Bytes{'g', 'e', '1'}));
  const Bytes inner = option6(1, client_id(1)) + option6(2, server_id()) +
                      ia_na(0x01020304, ia_address(ip6("2001:db8:7::10"), 43200, 86400), 21600, 34560);
  EXPECT_EQ(reply->option(9), (Bytes{ADVERTISE6, 0x12, 0x34, 0x56} + inner));
  EXPECT_EQ(reply->to_mac, mac_number(9));
  EXPECT_EQ(reply->to_ip, ip6("fe80::9"));
  EXPECT_EQ(reply->from_ip, ip6("fe80::ff:fe00:1")) << "link-local, where the VLAN has no address";
  EXPECT_EQ((std::array{reply->from_port, reply->to_port}), (std::array{547u, 547u}));
  EXPECT_EQ(answer(forwarded(carrying({REQUEST6, "2001:db8:7::10", true})).frame())->codes(), std::vector{9});
  EXPECT_EQ(bound(), "2001:db8:7::10");
}

TEST_F(Server6Relayed, PoolIsOfTheLinkOrElseOfTheVlan) {
  const Bytes solicit = carrying({SOLICIT6});
  make_pool(1);
  EXPECT_FALSE(answer(forwarded(solicit, "2001:db8:8::1").frame()));
  EXPECT_FALSE(answer(forwarded(solicit, "::").frame())) << "no link, and no address of ours";
  EXPECT_EQ(verdicts(), "no pool");
  device().vlan_interfaces[10].ip6 = "2001:db8:1::1/64";
  ASSERT_TRUE(answer(forwarded(solicit, "::", RELAY_REPL6).frame())) << "either relay type is taken apart";
  EXPECT_EQ(bound(), "(2001:db8:1::10)");
}

TEST_F(Server6Relayed, WhatCannotBeTakenApartIsRefused) {
  const Bytes solicit = carrying({SOLICIT6});
  const auto padded = [&](size_t size) { return solicit + option6(99, Bytes(size - 66 - 34 - solicit.size() - 4, 0)); };
  const Bytes nested = Bytes{RELAY_FORW6, 0} + Bytes(32, 0) + solicit;
  const auto answered = [](const Bytes& options) { return answer(forwarded(options).frame()).has_value(); };
  EXPECT_FALSE(answered(option6(18, {1})));
  EXPECT_FALSE(answered(option6(9, {SOLICIT6, 0, 0})));
  EXPECT_FALSE(answered(padded(1025)));
  EXPECT_EQ(verdicts(), "bad relay message");
  EXPECT_FALSE(answered(option6(9, nested)));
  verdicts();
  fake::fail_allocations(1);
  EXPECT_FALSE(answered(solicit));
  EXPECT_EQ(verdicts(), "bad relay message");
  EXPECT_TRUE(answered(padded(1024)));
  // The content is at most 950 bytes: an answer's four, its identifier, 66 of the rest.
  const auto with_id = [](size_t size) {
    return option6(9, Bytes{SOLICIT6, 0, 0, 1} + option6(1, Bytes(size, 7)) + ia_na(1, {}));
  };
  EXPECT_TRUE(answered(with_id(950 - 4 - 66)));
  EXPECT_FALSE(answered(with_id(951 - 4 - 66)));
}

}  // namespace
