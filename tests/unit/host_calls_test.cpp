/// The steps of a service that the host may call by themselves give what the service itself sends.
#include "dhcp/packet6.h"
#include "tests/unit/relay6_bench.h"
#include "tests/unit/relay_bench.h"
#include "tests/unit/server6_bench.h"

namespace {

using namespace wire;
using bench::device;
using bench::mac_number;
using bench::with;

/// The one frame that a call leaves behind, when it ends with 0.
template <class Call>
Bytes frame_of(Call call) {
  EXPECT_EQ(call(), 0);
  const auto sent = device().take_sent();
  EXPECT_EQ(sent.size(), 1u);
  return sent.empty() ? Bytes{} : sent[0].bytes;
}

class HostCalls4 : public bench::ServerBench {
 protected:
  static constexpr uint32_t address = ip(192, 168, 1, 10);

  void SetUp() override {
    ServerBench::SetUp();
    make_pool();
  }
  static Bytes served(Received& frame) {
    return frame_of([&] { return dhcp_server_packet_process(frame.skp()); });
  }
  DhcpPool* pool() { return dhcp_get_pool_by_id(1); }

  Received asked{bench::discover(mac_number(5)).frame()}, taken{bench::request(mac_number(5), address).frame()};
  Received stranger{bench::request(mac_number(6), ip(192, 168, 1, 15)).frame()}, cut{Bytes(60, 0)};
};

TEST_F(HostCalls4, AnswerAsTheServerDoes) {
  EXPECT_EQ(dhcp_get_pool_entry(asked.skp()), pool());
  const Bytes offer = served(asked), ack = served(taken), nak = served(stranger);
  EXPECT_EQ(frame_of([&] { return dhcp_send_offer(asked.skp(), pool(), address); }), offer);
  EXPECT_EQ(frame_of([&] { return dhcp_send_ack(taken.skp(), pool(), address); }), ack);
  EXPECT_EQ(frame_of([&] { return dhcp_send_nack(stranger.skp()); }), nak);

  EXPECT_EQ(dhcp_get_pool_entry(cut.skp()), nullptr);
  EXPECT_EQ(dhcp_send_offer(cut.skp(), pool(), address), -1);
  EXPECT_EQ(dhcp_send_ack(cut.skp(), pool(), address), -1);
  EXPECT_EQ(dhcp_send_nack(cut.skp()), -1);
}

TEST_F(HostCalls4, BuildOptionsAsTheServerDoes) {
  int length = 0;
  const uint8_t* type = dhcp_get_option(asked.skp(), 53, &length);
  ASSERT_NE(type, nullptr);
  EXPECT_EQ(std::pair(length, int{*type}), std::pair(1, int{DISCOVER}));
  for (const int code : {-1, 0, 255, 256, 200}) EXPECT_EQ(dhcp_get_option(asked.skp(), code, &length), nullptr);

  ASSERT_EQ(dhcp_server_packet_process(asked.skp()), 0);
  const Bytes offer = reply()->message;
  const Bytes request = asked.bytes();
  Bytes built(1024, 0xa5);
  int used = dhcp_init_packet(built.data(), request.data() + 46, 10, OFFER);
  used = dhcp_add_param_list_option(pool(), built.data(), used, asked.skp());
  ASSERT_GT(used, 0);
  const auto options = [used](const Bytes& message) {
    return Bytes(message.data() + 240, message.data() + 240 + used);
  };
  EXPECT_EQ(options(built), options(offer));

  EXPECT_EQ(dhcp_add_option(built.data(), used, 66, 2, "ab"), used + 4);
  EXPECT_EQ(Bytes(built.data() + 240 + used, built.data() + 244 + used), (Bytes{66, 2, 'a', 'b'}));
  const Bytes before = built;
  EXPECT_EQ(dhcp_add_option(built.data(), 300, 66, 255, before.data()), -1) << "no room";
  EXPECT_EQ(dhcp_add_option(built.data(), -1, 66, 1, "a"), -1);
  EXPECT_EQ(dhcp_add_option(built.data(), 0, 256, 1, "a"), -1);
  EXPECT_EQ(dhcp_add_param_list_option(pool(), built.data(), used, cut.skp()), -1);
  EXPECT_EQ(built, before);
}

class HostCalls6 : public bench::Server6Bench {
 protected:
  static constexpr const char* address = "2001:db8:1::10";

  void SetUp() override {
    Server6Bench::SetUp();
    make_pool();
  }
  static Bytes served(Received& frame) {
    return frame_of([&] { return dhcp6_server_packet_process(frame.skp()); });
  }
  static Bytes message_in(const Bytes& frame) { return Reply6(frame).message; }
};

TEST_F(HostCalls6, AnswerAsTheServerDoes) {
  Received asked(message({SOLICIT6}).frame()), taken(message({REQUEST6, address, true}).frame());
  Received away(message({CONFIRM6, "2001:db8:2::1"}).frame()), cut(Bytes(60, 0));
  const Ip6 given = ip6(address);
  Dhcp6Pool* pool = dhcp6_get_pool_by_id(1);
  const Bytes advertise = served(asked), reply = served(taken), not_on_link = served(away);
  EXPECT_EQ(frame_of([&] { return dhcp6s_send_advertise(asked.skp(), pool, given.data(), nullptr); }), advertise);
  EXPECT_EQ(frame_of([&] { return dhcp6s_send_reply(taken.skp(), pool, given.data(), nullptr, -1); }), reply);
  EXPECT_EQ(frame_of([&] { return dhcp6s_send_status_reply(away.skp(), 4, nullptr); }), not_on_link);
  const Bytes content = message_in(reply);
  EXPECT_EQ(frame_of([&] { return dhcp6s_send_packet(taken.skp(), content.data(), static_cast<int>(content.size())); }),
            reply);
  EXPECT_EQ(dhcp6s_send_packet(taken.skp(), content.data(), -1), -1);
  EXPECT_EQ(dhcp6s_send_advertise(cut.skp(), pool, given.data(), nullptr), -1);
  EXPECT_EQ(dhcp6s_send_status_reply(cut.skp(), 4, nullptr), -1);
}

TEST_F(HostCalls6, AnswerARelayAsTheServerDoes) {
  const Bytes inner = message({SOLICIT6}).frame();
  Received relayed(Message6::relayed(RELAY_FORW6, mac_number(9), 3, ip6("2001:db8:1::2"), ip6("fe80::77"),
                                     option6(9, Bytes(inner.begin() + 66, inner.end())))
                       .frame());
  const Bytes reply = served(relayed);
  const Bytes content = Reply6(reply).option(9);
  EXPECT_EQ(frame_of([&] {
              return dhcp6s_send_relay_reply(relayed.skp(), content.data(), static_cast<int>(content.size()));
            }),
            reply);
  EXPECT_EQ(dhcp6s_send_relay_reply(relayed.skp(), content.data(), -1), -1);
}

class HostCallsRelay6 : public bench::Relay6Bench {};

TEST_F(HostCallsRelay6, BuildWhatTheRelaySends) {
  const char* server = "2001:db8:20::5";
  answers(server, server_mac);
  ASSERT_EQ(add(server), 0);
  Received asked(Message6{SOLICIT6, client_mac, option6(1, {1, 2, 3})}.frame(), client_port);
  const Bytes forwarded = frame_of([&] { return dhcp6_relay_packet_process(asked.skp()); });
  Bytes built(DHCP6_RELAY_BUFFER_SIZE, 0xa5);
  const Dhcp6ServerNode* node = dhcp6_relay_find_dhcp_serverip(ip6(server).data(), 0, nullptr, 0);
  ASSERT_NE(node, nullptr);
  int size = dhcp6_relay_construct_request(asked.skp(), built.data(), node);
  EXPECT_EQ(Bytes(built.data(), built.data() + std::max(size, 0)), forwarded);

  Received answer(Message6::relayed(RELAY_REPL6, server_mac, 0, ip6("2001:db8:20::1"), ip6("fe80::2"),
                                    option6(9, {7, 0x12, 0x34, 0x56, 0, 1, 0, 1, 0xcc}))
                      .from_ip(ip6(server))
                      .frame(),
                  server_port);
  const Bytes returned = frame_of([&] { return dhcp6_relay_packet_process(answer.skp()); });
  size = dhcp6_relay_construct_reply(answer.skp(), built.data(), 10, client_mac.data(), ip6("fe80::2").data(), nullptr);
  EXPECT_EQ(Bytes(built.data(), built.data() + std::max(size, 0)), returned);

  EXPECT_EQ(frame_of([&] { return dhcp6_relay_send_reqeust_packet(asked.skp(), client_port, 10); }), forwarded);
  EXPECT_EQ(frame_of([&] {
              return dhcp6_relay_send_ack_packet(answer.skp(), server_port, 10, client_mac.data(),
                                                 ip6("fe80::2").data(), nullptr);
            }),
            returned);
  size = 0;
  const uint8_t* identifier = dhcp6_get_option(asked.skp(), 1, &size);
  ASSERT_NE(identifier, nullptr);
  EXPECT_EQ(Bytes(identifier, identifier + size), (Bytes{1, 2, 3}));
  EXPECT_EQ(dhcp6_get_option(asked.skp(), 2, &size), nullptr);
  const uint8_t* message_option = dhcp6_get_relay_option(answer.skp(), 9, &size);
  ASSERT_NE(message_option, nullptr);
  EXPECT_EQ(Bytes(message_option, message_option + size), (Bytes{7, 0x12, 0x34, 0x56, 0, 1, 0, 1, 0xcc}));

  Received cut(Bytes(60, 0));
  EXPECT_EQ(dhcp6_relay_construct_request(cut.skp(), built.data(), node), -1);
  EXPECT_EQ(dhcp6_relay_send_reqeust_packet(cut.skp(), client_port, 10), -1);
  EXPECT_EQ(dhcp6_relay_send_ack_packet(cut.skp(), server_port, 10, client_mac.data(), ip6("fe80::2").data(), nullptr),
            -1);
}

class HostCallsRelay4 : public bench::RelayBench {};

TEST_F(HostCallsRelay4, BuildAndSendARequestAsTheRelayDoes) {
  start_routing();
  const Bytes request = discover().frame();
  const auto asked = [&](auto call) {
    Received frame(request, port);
    return frame_of([&] { return call(frame.skp()); });
  };
  const Bytes forwarded = asked(dhcpr_packet_process);
  EXPECT_EQ(asked([](skpack* skp) { return DHCPR_send_reqeust_packet(skp, port, 10); }), forwarded);

  const DhcpServerNode* node = get_dhcp_server_by_ipaddr(server_ip);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(get_dhcp_server_by_vlan(20), node);
  EXPECT_EQ(get_dhcp_server_by_vlan(10), nullptr);
  Bytes built(DHCPR_BUFFER_SIZE, 0xa5);
  auto size = static_cast<uint32_t>(request.size());
  ASSERT_EQ(DHCPR_handler(request.data(), built.data(), &size, port, 10, 1, node), 0);
  EXPECT_EQ(Bytes(built.data(), built.data() + size), forwarded);
  EXPECT_EQ(frame_of([&] { return DHCPR_send(0, built.data(), size, port, node->vlan, 1); }), forwarded);

  size = static_cast<uint32_t>(request.size());
  ASSERT_EQ(DHCPR_handler(request.data(), built.data(), &size, port, 10, 0, node), 0) << "not routed: only the VLAN's";
  EXPECT_EQ(Bytes(built.data(), built.data() + 14), Bytes(request.data(), request.data() + 14));
  EXPECT_EQ(Bytes(built.data() + 14, built.data() + 16), (Bytes{0, 20}));
  size = 60;
  EXPECT_EQ(DHCPR_handler(request.data(), built.data(), &size, port, 10, 1, node), -1);
}

TEST_F(HostCallsRelay4, ReturnAReplyAsTheRelayDoes) {
  start_routing();
  ASSERT_EQ(receive(discover()), 0);
  device().take_sent();
  const auto reply = from_server(OFFER);
  Received answer(reply.frame(), uplink), in_the_clients_vlan(with(reply.frame(), 14, {0, 10}), uplink);
  const Bytes returned = frame_of([&] { return dhcpr_packet_process(answer.skp()); });
  EXPECT_EQ(
      frame_of([&] { return DHCPR_send_ack_packet(in_the_clients_vlan.skp(), client.data(), uplink, 20, 10, 0); }),
      returned);
}

}  // namespace
