/// What the server answers to whom, and what it must not be talked into.
#include "dhcp/counters.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

const Mac client = mac_number(1), other = mac_number(2);
constexpr uint32_t first_ip = ip(192, 168, 1, 10);

class ServerMessages : public ServerBench {
 protected:
  void SetUp() override {
    ServerBench::SetUp();
    make_pool();
  }
  static void set_option(uint8_t code, size_t length, uint8_t fill = 7) {
    ASSERT_EQ(dhcp_server_set_pool_option(1, code, static_cast<uint8_t>(length), Bytes(312, fill).data(), 2), 0);
  }
};

TEST_F(ServerMessages, OfferAndAckGoToEveryPortOfTheVlan) {
  EXPECT_EQ(receive(discover(client).xid(0x01020304)), 0);
  std::vector<uint32_t> all_ports;
  for (uint32_t i = 1; i <= 26; ++i) all_ports.push_back(i);
  for (uint32_t i = 1; i <= 10; ++i) all_ports.push_back(0x10000000 + i);
  const Expected offer{.type = wire::OFFER,
                       .yiaddr = first_ip,
                       .ciaddr = 0,
                       .giaddr = 0,
                       .to_ip = wire::broadcast_ip,
                       .from_ip = own_ip,
                       .xid = 0x01020304,
                       .flags = 0,
                       .vlan = 10,
                       .to_mac = wire::broadcast_mac,
                       .from_mac = own_mac,
                       .mode = 0,
                       .ports = all_ports,
                       .codes = {{53, 54, 51}}};
  expect_reply(offer);
  EXPECT_THAT(leases(), ElementsAre(Lease{first_ip, 1, DHCPS_OFFERED, start + 5}));
  EXPECT_EQ(receive(request(client, first_ip)), 0);
  expect_reply({.type = wire::ACK, .yiaddr = first_ip, .codes = {{53, 54, 51}}});
  EXPECT_THAT(leases(), ElementsAre(Lease{first_ip, 1, DHCPS_ACKNOWLEDGED, start + 86400}));
  EXPECT_EQ(device().logged_at("Send dhcp offer packet:ret=0\n", "dhcp offer"), 1);
  EXPECT_EQ(device().logged_at("Send dhcp ack packet:ret=0\n", "dhcp ack"), 1);
}

TEST_F(ServerMessages, OptionsStandInTheClientsOrderThenThePools) {
  const uint32_t routers[] = {ip(192, 168, 1, 1), ip(192, 168, 1, 2)}, dns[] = {ip(8, 8, 8, 8), ip(9, 9, 9, 9)};
  dhcp_server_set_router(1, routers, 2);
  dhcp_server_set_dns_srv(1, dns, 2);
  dhcp_server_set_domain_name(1, "example.net");
  dhcp_server_set_tftp_server(1, "tftp.example.net");
  dhcp_server_set_boot_file_name(1, "image.bin");
  set_option(43, 2, 0xab);
  set_option(3, 4, 0x0a);  // repeats a code that the client asks for
  receive(discover(client).option(55, {15, 6, 99, 3, 1, 13, 66, 67, 51, 82, 255}));
  const auto offer = reply();
  ASSERT_TRUE(offer);
  EXPECT_THAT(offer->codes(), ElementsAre(53, 54, 51, 15, 6, 3, 1, 13, 3, 43));
  const std::map<int, Bytes> values = {{54, wire::be32(own_ip)},
                                       {51, wire::be32(86400)},
                                       {6, {8, 8, 8, 8, 9, 9, 9, 9}},
                                       {1, {255, 255, 255, 0}},
                                       {13, {2, 0}},
                                       {43, {0xab, 0xab}},
                                       {3, {192, 168, 1, 1, 192, 168, 1, 2}}};
  for (const auto& [code, value] : values) EXPECT_EQ(offer->option(code), value) << code;
  EXPECT_EQ(offer->options[8].second, Bytes(4, 0x0a));
  const auto texts = [](const wire::Reply& r) { return std::string(r.message.begin() + 44, r.message.begin() + 236); };
  EXPECT_EQ(texts(*offer), "tftp.example.net" + std::string(48, '\0') + "image.bin" + std::string(119, '\0'));
  receive(discover(client));
  EXPECT_EQ(texts(*reply()), std::string(192, '\0')) << "left over from the reply before";
}

TEST_F(ServerMessages, WhatThePoolDoesNotHaveIsLeftOut) {
  dhcp_server_set_boot_file_size(1, 0);
  receive(discover(client).option(55, {3, 6, 13, 15, 66, 67, 1}));
  expect_reply({.codes = {{53, 54, 51, 1}}});
  uint32_t many[20];
  std::fill(std::begin(many), std::end(many), own_ip);
  dhcp_server_set_router(1, many, 20);
  receive(discover(client).option(55, {3}));
  EXPECT_EQ(reply()->option(3).size(), 32u) << "room for eight";
}

TEST_F(ServerMessages, ReplyGoesWhereTheRequestAllows) {
  device().mac_table[{client, 10}] = 7;
  device().mac_table[{mac_number(77), 10}] = 8;
  lease(client);
  const uint32_t relay_ip = ip(192, 168, 1, 200);
  const struct {
    const char* name;
    wire::Message message;
    Expected expected;
  } rows[] = {
      {"renewal by unicast",
       renewal(client, first_ip).unicast_to(own_mac, own_ip),
       {.type = wire::ACK, .ciaddr = first_ip, .to_ip = first_ip, .to_mac = client, .mode = 2, .ports = {{7}}}},
      {"renewal that wants broadcast",
       renewal(client, first_ip).broadcast_flag(),
       {.type = wire::ACK, .to_ip = wire::broadcast_ip, .flags = 0x8000, .to_mac = wire::broadcast_mac, .mode = 0}},
      {"request without address",
       request(client, first_ip),
       {.type = wire::ACK, .to_ip = wire::broadcast_ip, .to_mac = wire::broadcast_mac, .mode = 0}},
      {"relayed",
       request(client, first_ip).giaddr(relay_ip).broadcast_flag().from(mac_number(77)),
       {.type = wire::ACK, .giaddr = relay_ip, .to_ip = relay_ip, .to_mac = mac_number(77), .mode = 2, .ports = {{8}}}},
      {"NAK",
       request(client, first_ip + 1).ciaddr(first_ip),
       {.type = wire::NAK,
        .yiaddr = 0,
        .to_ip = wire::broadcast_ip,
        .to_mac = wire::broadcast_mac,
        .codes = {{53, 54}}}},
      {"relayed NAK",
       request(client, first_ip + 1).giaddr(relay_ip).from(mac_number(77)),
       {.type = wire::NAK, .to_ip = relay_ip, .to_mac = mac_number(77), .ports = {{8}}}},
      {"INFORM",
       wire::Message(wire::INFORM, client).ciaddr(first_ip).option(55, {1, 3}),
       {.type = wire::ACK, .yiaddr = 0, .ciaddr = first_ip, .to_ip = first_ip, .codes = {{53, 54}}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(receive(row.message), 0);
    expect_reply(row.expected);
  }
}

TEST_F(ServerMessages, UnicastToAnUnknownPortIsDroppedInSilence) {
  lease(client);
  at(100);
  EXPECT_EQ(receive(renewal(client, first_ip)), 0);
  expect_silence();
  EXPECT_EQ(leases()[0].expire, start + 100 + 86400);
}

TEST_F(ServerMessages, UnknownBindingIsRefusedOnlyToAClientThatNamesItsChoice) {
  const Mac stranger = mac_number(3);
  for (const auto& named : {wire::Message(wire::REQUEST, stranger).ip_option(50, first_ip),
                            renewal(stranger, first_ip).ip_option(54, own_ip)}) {
    EXPECT_EQ(receive(named), 0);
    expect_reply({.type = wire::NAK});
  }
  EXPECT_EQ(receive(renewal(stranger, first_ip)), 0);
  expect_silence();
  EXPECT_EQ(device().logged_at("Send dhcp nack packet:ret=0\n", "dhcp nack"), 2);
}

TEST_F(ServerMessages, IgnoredMessagesLeaveNoTrace) {
  dhcp_add_conflict_ip(first_ip + 1);
  dhcp_server_set_exclude_ip(first_ip + 2, first_ip + 2);
  lease(client);
  const auto before = leases();
  const char *no_type = "no or bad message type option, ignoring packet", *invalid = "request ip is invalid...\n";
  const struct {
    const char* text;
    wire::Message message;
    int result = -1;
  } rows[] = {
      {no_type, wire::Message(0, client)},
      {no_type, wire::Message(0, client).option(53, {0})},
      {no_type, wire::Message(0, client).option(53, {9})},
      {no_type, wire::Message(0, client).option(53, {})},
      {"Server ID doesn't match ,ignoring...\n", discover(other).ip_option(54, own_ip + 1)},
      {"no request ip and no ciaddr, ignoring...\n", wire::Message(wire::REQUEST, client).ip_option(54, own_ip)},
      {invalid, request(client, first_ip + 1)},
      {invalid, request(client, first_ip + 2)},
      {"", discover(other).untagged()},
      {"", wire::Message(wire::OFFER, client), 0},
      {"", wire::Message(wire::NAK, client), 0},
  };
  std::map<std::string, int> said;
  for (const auto& row : rows) {
    EXPECT_EQ(receive(row.message), row.result) << row.text;
    expect_silence();
    EXPECT_EQ(leases(), before) << row.text;
    if (*row.text != '\0') {
      EXPECT_EQ(device().logged_at(row.text, "dhcpc"), ++said[row.text]) << row.text;
    }
  }
}

TEST_F(ServerMessages, EveryMessageMeetsTheFateThatItIsCountedAs) {
  const auto fate_of = [](const wire::Message& message) {
    dhcp_clear_counters();
    receive(message);
    device().take_sent();
    DhcpCounter met{};
    EXPECT_EQ(dhcp_get_counters(&met, 1), 1);
    EXPECT_TRUE(met.service == DHCP_SERVICE_SERVER && met.intf == 3 && met.count == 1);
    return std::string(dhcp_message_type_name(met.service, met.type)) + " " + dhcp_reason_name(met.service, met.reason);
  };
  const auto message = [](int type) { return wire::Message(type, client); };
  dhcp_server_set_exclude_ip(first_ip + 2, first_ip + 2);
  const std::pair<wire::Message, const char*> rows[] = {
      {discover(client), "DISCOVER offered"},
      {request(client, first_ip), "REQUEST acknowledged"},
      {message(wire::INFORM).ciaddr(first_ip), "INFORM acknowledged"},
      {request(other, first_ip), "REQUEST refused"},
      {renewal(other, first_ip), "REQUEST unknown client"},
      {request(client, first_ip + 2), "REQUEST address not leasable"},
      {message(wire::REQUEST), "REQUEST no address named"},
      {message(wire::RELEASE).ciaddr(first_ip), "RELEASE no server id"},
      {message(wire::RELEASE).ciaddr(first_ip).ip_option(54, own_ip), "RELEASE released"},
      {message(wire::DECLINE).ip_option(50, first_ip), "DECLINE no server id"},
      {message(wire::DECLINE).ip_option(54, own_ip), "DECLINE no address named"},
      {message(wire::DECLINE).ip_option(54, own_ip).ip_option(50, first_ip), "DECLINE declined"},
      {message(0), "other no message type"},
      {message(wire::OFFER), "OFFER other message type"},
      {discover(client).ip_option(54, own_ip + 1), "DISCOVER other server"},
      {discover(client).untagged(), "other untagged"},
      {discover(client).vlan(30), "DISCOVER no pool"},
      {message(0).option(1, {0}).option(53, {wire::DISCOVER}), "DISCOVER offered"},
  };
  for (const auto& [sent, fate] : rows) EXPECT_EQ(fate_of(sent), fate);
  dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), mask24, first_ip, first_ip);
  EXPECT_EQ(fate_of(discover(other)), "DISCOVER no free address") << "the only one is in conflict";
  dhcp_server_clear_conflict(0);
  fake::fail_allocations(100);
  EXPECT_EQ(fate_of(discover(other)), "DISCOVER table full");
  fake::fail_allocations(0);
  for (const uint8_t code : {uint8_t{43}, uint8_t{44}}) set_option(code, 255);
  EXPECT_EQ(fate_of(discover(other)), "DISCOVER not sent");
}

TEST_F(ServerMessages, StaticHostIsOfferedAndNeverAcknowledged) {
  dhcp_server_set_static_host(1, client.data(), first_ip);
  EXPECT_EQ(offered(discover(client)), first_ip);
  for (const Mac& mac : {client, other}) {
    EXPECT_EQ(receive(request(mac, first_ip)), -1);
    expect_silence();
  }
  EXPECT_EQ(leases()[0].state, DHCPS_OFFERED);
}

TEST_F(ServerMessages, NewDiscoverReplacesTheClientsLease) {
  lease(client);
  lease(other);
  dhcp_server_clear_binding(first_ip);
  EXPECT_EQ(offered(discover(other)), first_ip + 1) << "the same address again, though a lower one is free";
  EXPECT_EQ(leases()[0].state, DHCPS_OFFERED);
  EXPECT_EQ(offered(discover(other).ip_option(50, first_ip + 5)), first_ip + 5);
  EXPECT_THAT(leases(), SizeIs(1));
  EXPECT_EQ(device().logged_at("delete binding pool_id[1]\n", "dhcpc"), 2);
}

TEST_F(ServerMessages, DeclinedAddressIsBannedOnlyByACompleteDecline) {
  lease(client);
  EXPECT_EQ(receive(wire::Message(wire::DECLINE, client).ip_option(50, first_ip)), 0);
  EXPECT_EQ(receive(wire::Message(wire::DECLINE, client).ip_option(54, own_ip)), 0);
  EXPECT_THAT(leases(), SizeIs(1));
  EXPECT_EQ(dhcps_cfg.conflicts.count, 0);
  EXPECT_EQ(receive(wire::Message(wire::DECLINE, client).ip_option(54, own_ip).ip_option(50, first_ip)), 0);
  EXPECT_THAT(leases(), IsEmpty());
  EXPECT_EQ(offered(discover(client)), first_ip + 1);
  at(86401);
  age();
  EXPECT_EQ(offered(discover(client)), first_ip);
  EXPECT_EQ(device().logged_at("Receive dhcp decline message\n", "dhcp decline"), 3);
}

TEST_F(ServerMessages, ReleaseNeedsTheServersName) {
  lease(client);
  const auto release = wire::Message(wire::RELEASE, client).ciaddr(first_ip).unicast_to(own_mac, own_ip);
  EXPECT_EQ(receive(release), 0);
  EXPECT_THAT(leases(), SizeIs(1));
  EXPECT_EQ(receive(wire::Message(wire::RELEASE, other).ciaddr(first_ip).ip_option(54, own_ip)), 0);
  EXPECT_THAT(leases(), SizeIs(1)) << "somebody else's";
  EXPECT_EQ(receive(wire::Message(release).ip_option(54, own_ip)), 0);
  EXPECT_THAT(leases(), IsEmpty());
  expect_silence();
}

TEST_F(ServerMessages, TooManyOptionsMeanNoReplyAndNoBinding) {
  // 53, 54 and 51 take 15 bytes; 257 more with option 43.
  set_option(43, 255);
  set_option(44, 38);
  EXPECT_EQ(receive(discover(client)), 0) << "312 bytes and the end option";
  expect_reply({.type = wire::OFFER, .codes = {{53, 54, 51, 44, 43}}});
  set_option(44, 39);
  EXPECT_EQ(receive(discover(client)), -1);
  expect_silence();
  EXPECT_THAT(leases(), IsEmpty());
  EXPECT_EQ(dhcp_get_pool_by_id(1)->binding_count, 0);
  EXPECT_EQ(device().logged_at("send offer failed delete binding\n", "dhcpc"), 1);
  EXPECT_EQ(receive(wire::Message(wire::INFORM, client).broadcast_flag()), 0);
  expect_reply({.type = wire::ACK, .codes = {{53, 54}}});
}

TEST_F(ServerMessages, ClientIdentifierCountsFromTwoToThirtyTwoBytes) {
  const std::pair<size_t, size_t> rows[] = {{1, 1}, {2, 2}, {32, 2}, {33, 1}};
  for (const auto& [length, bindings] : rows) {
    offered(discover(client).option(61, Bytes(length, 0x41)));
    offered(discover(client).option(61, Bytes(length, 0x42)));  // the same machine otherwise
    EXPECT_THAT(leases(), SizeIs(bindings)) << length;
    dhcp_server_clear_binding(0);
  }
}

TEST_F(ServerMessages, HardwareLengthBeyondTheFieldIsCut) {
  // 255 claimed, 32 taken: chaddr and the beginning of sname.
  receive(discover(client).at(2, {255}).at(44, Bytes(64, 0x33)));
  reply();
  wire::Received same(discover(client).at(2, {32}).at(44, Bytes(16, 0x33)).frame());
  const DhcpBinding* binding = dhcp_get_binding(same.skp(), 1, 0);
  ASSERT_NE(binding, nullptr);
  EXPECT_EQ(binding->id_len, 32);
  wire::Received plain(discover(client).frame());
  EXPECT_EQ(dhcp_get_binding(plain.skp(), 1, 0), nullptr);
}

TEST_F(ServerMessages, FiveHundredBindingsAndNotOneMore) {
  dhcp_server_del_pool_entry(1);
  make_pool(1, ip(192, 168, 0, 10), ip(192, 168, 9, 255), ip(192, 168, 0, 0), 0xffff0000);
  for (uint32_t n = 0; n < 500; ++n) ASSERT_NE(offered(discover(mac_number(n))), 0u) << n;
  EXPECT_EQ(receive(discover(mac_number(500))), -1);
  expect_silence();
  EXPECT_EQ(dhcps_cfg.bindings.count, 500);
  EXPECT_EQ(device().logged_at("reach max dhcp binding count 500 limit\n", "dhcpc"), 1);
  EXPECT_NE(offered(discover(mac_number(77))), 0u) << "a known client is still served";
}

TEST_F(ServerMessages, MemoryThatEndsMeansNoOffer) {
  fake::fail_allocations(100);
  EXPECT_EQ(receive(discover(client)), -1);
  fake::fail_allocations(0);
  expect_silence();
  EXPECT_EQ(device().logged_at("malloc failed for dhcp binding!\n", "dhcpc"), 1);
}

TEST_F(ServerMessages, PoolIsChosenByRelayClientOrOwnAddress) {
  device().vlan_interfaces[20] = {ip(10, 0, 0, 1), own_mac};
  make_pool(2, ip(10, 0, 0, 10), ip(10, 0, 0, 20), ip(10, 0, 0, 0), 0xff000000);
  dhcp_server_create_pool_entry(4);  // newer, and without a network
  EXPECT_EQ(offered(discover(client)), first_ip);
  EXPECT_EQ(offered(discover(client).vlan(20)), ip(10, 0, 0, 10));
  device().mac_table[{client, 10}] = 1;
  EXPECT_EQ(offered(discover(client).giaddr(ip(10, 9, 9, 9))), ip(10, 0, 0, 10));
  EXPECT_EQ(offered(discover(client).ciaddr(ip(10, 0, 0, 10)).unicast_to(own_mac, own_ip)), ip(10, 0, 0, 10));
  EXPECT_EQ(offered(discover(client).ciaddr(ip(10, 0, 0, 10))), first_ip) << "broadcast: ciaddr does not count";
  make_pool(3, ip(192, 168, 1, 100), ip(192, 168, 1, 110), ip(192, 168, 0, 0), 0xffff0000);
  EXPECT_EQ(offered(discover(other)), ip(192, 168, 1, 100)) << "the newest pool that fits";
}

TEST_F(ServerMessages, FrameOfAStrangersVlanGoesBackToTheSwitch) {
  const Bytes frame = discover(client).vlan(30).frame();
  EXPECT_EQ(receive(frame), -1);
  const fake::Sent sent = device().take_sent().at(0);
  EXPECT_EQ(sent.bytes, frame);
  EXPECT_TRUE(sent.all_ports && sent.vlan == 30 && sent.mode == 0);
  EXPECT_GE(device().logged("Receive DHCP request packet form vlan 30, but this vlan is not manage vlan", "dhcpc"), 1);
  EXPECT_EQ(receive(discover(client).vlan(30).unicast_to(own_mac, own_ip)), -1);
  expect_silence();
}

TEST_F(ServerMessages, InterfaceWithoutAnAddressServesNobody) {
  device().interfaces_without_answer = {"eth0.10"};
  testing::internal::CaptureStdout();
  EXPECT_EQ(receive(discover(client).unicast_to(own_mac, own_ip)), -1);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("ioctl getip failed!"));
  expect_silence();
}

TEST_F(ServerMessages, CutFramesAreDropped) {
  const Bytes whole = discover(client).option(55, {1, 3, 6}).option(12, Bytes(40, 'h')).option(61, Bytes(7, 1)).frame();
  ASSERT_GE(whole.size(), 342u);
  lease(other);
  const auto before = leases();
  for (size_t size = 0; size < whole.size(); ++size) {
    receive(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    const auto sent = device().take_sent();
    if (size >= 289) continue;  // behind option 53
    EXPECT_EQ(leases(), before) << size;
    EXPECT_THAT(sent, IsEmpty()) << size;
  }
}

TEST_F(ServerMessages, OptionsThatLieAboutTheirLengthAreDropped) {
  const Bytes honest{55, 3, 1, 3, 6, 12, 4, 'h', 'o', 's', 't', 61, 3, 1, 2, 3, 50, 4, 192, 168, 1, 12, 53, 1, 1, 255};
  ASSERT_EQ(offered(discover(client).raw_options(honest)), ip(192, 168, 1, 12));
  dhcp_server_clear_binding(0);
  for (size_t at : {1u, 6u, 12u, 17u, 23u}) {
    for (unsigned lie = 26; lie < 256; ++lie) {
      Bytes options = honest;
      options[at] = static_cast<uint8_t>(lie);
      EXPECT_EQ(receive(discover(client).raw_options(options)), -1) << at << ' ' << lie;
      expect_silence();
    }
  }
}

}  // namespace
}  // namespace bench
