/// What becomes of a frame, step by step, and what clients and servers teach the binding table.
#include <semaphore.h>

#include "base/list.h"
#include "dhcp/relay.h"
#include "module/module.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::discover;
using bench::ip;
using bench::Mac;
using bench::mac_number;
using testing::ElementsAre;
using testing::IsEmpty;
using wire::Message;

class SnoopingInspection : public bench::SnoopingBench {
 protected:
  static void set_relay(bool on) { dhcpr_cfg.status = on ? DHCPR_ON : DHCPR_OFF; }
  static Message typed(uint8_t type, const Mac& mac = client) { return {type, mac}; }
};

/// The world of the rows: `client` bound on `port` and VLAN 10, `fixed` static there, server list with server_ip.
TEST_F(SnoopingInspection, EveryStepHasItsFateCounterAndText) {
  const Mac fixed{0x02, 0xaa, 0, 0, 0, 0x0f}, stranger{0x02, 0xcc, 0, 0, 0, 1};
  bind(client);
  set_dhcp_snoop_bind(1, fixed.data(), address + 5, port, 10, 900);
  set_dhcp_snoop_suppression(1, 7);
  set_dhcp_snoop_serverip(1, server_ip);
  set_dhcp_snoop_untrust_option82_switch(0);
  set_dhcp_snoop_verify(1);
  const char *wrong_type = "the packet message type is wrong,so drop",
             *unbound = "the request type packet do not find the bind node ,so drop the invalid packet",
             *elsewhere = "the packet port or vlan is  wrong in the static bind node,so drop the invalid packet",
             *not_listed = "the source ip addr is invalid in the packet,so drop the packet",
             *unsnooped = "the packet vlan is not dhcp snooping vlan,forward it",
             *lying = "the packet is invaid in the verify function,so drop the packet",
             *request = "forward the request packet.", *wrong_port = "the relase or decline packet is invalid,so drop";
  const struct {
    const char* what;
    Message message;
    uint32_t in_port;
    DhcpSnoopVerdict verdict;
    int type;
    bool sent;
    const char* text;
  } rows[] = {
      {"no such port", discover(stranger), 99, DHCP_SNOOP_UNKNOWN_PORT, 0, false, nullptr},
      {"suppressed", discover(stranger), 7, DHCP_SNOOP_SUPPRESSED, 0, false, nullptr},
      {"no type", typed(0), port, DHCP_SNOOP_NO_MESSAGE_TYPE, 0, false, nullptr},
      {"early source check", discover(client).from(stranger), port, DHCP_SNOOP_SOURCE_MAC, 1, false, nullptr},
      {"cookie", typed(8).at(236, {1}), port, DHCP_SNOOP_BAD_COOKIE, 8, false, nullptr},
      {"cookie on a trusted port", ack(client).at(239, {1}), uplink, DHCP_SNOOP_BAD_COOKIE, 5, false, nullptr},
      {"other VLAN", discover(client).vlan(30), port, DHCP_SNOOP_NOT_SNOOPED, 1, true, unsnooped},
      {"untagged", typed(8).untagged(), port, DHCP_SNOOP_NOT_SNOOPED, 8, true, unsnooped},
      {"ACK of nobody's", ack(stranger), uplink, DHCP_SNOOP_NOT_SNOOPED, 5, true, unsnooped},
      {"rogue OFFER", from_server(2, client), port, DHCP_SNOOP_SERVER_ON_UNTRUSTED, 2, false, wrong_type},
      {"rogue ACK", ack(client), port, DHCP_SNOOP_SERVER_ON_UNTRUSTED, 5, false, wrong_type},
      {"rogue NAK", from_server(6, client), port, DHCP_SNOOP_SERVER_ON_UNTRUSTED, 6, false, wrong_type},
      {"type 9", typed(9), port, DHCP_SNOOP_SERVER_ON_UNTRUSTED, 0, false, wrong_type},
      {"type 255", typed(255), port, DHCP_SNOOP_SERVER_ON_UNTRUSTED, 0, false, wrong_type},
      {"client's option 82", discover(client).option(82, {1, 1, 9}), port, DHCP_SNOOP_CLIENT_OPTION82, 1, false,
       "the packet is with user option82 in allow_untrust_option82 == 0,so drop the packet"},
      {"unknown client's INFORM", typed(8, stranger), port, DHCP_SNOOP_NO_BINDING, 8, false, unbound},
      {"late source check", typed(8).from(stranger), port, DHCP_SNOOP_SOURCE_MAC, 8, false, lying},
      {"static client elsewhere", discover(fixed), other_port, DHCP_SNOOP_STATIC_ELSEWHERE, 1, false, elsewhere},
      {"static client on another VLAN", typed(8, fixed).vlan(20), port, DHCP_SNOOP_STATIC_ELSEWHERE, 8, false,
       elsewhere},
      {"static client at home", typed(3, fixed), port, DHCP_SNOOP_FORWARDED, 3, true, request},
      {"RELEASE from elsewhere", typed(7), other_port, DHCP_SNOOP_WRONG_PORT, 7, false, wrong_port},
      {"DECLINE from elsewhere", typed(4), other_port, DHCP_SNOOP_WRONG_PORT, 4, false, wrong_port},
      {"RELEASE on another VLAN", typed(7).vlan(20), port, DHCP_SNOOP_FORWARDED, 7, true, request},
      {"DECLINE", typed(4), port, DHCP_SNOOP_FORWARDED, 4, true, request},
      {"INFORM", typed(8), port, DHCP_SNOOP_FORWARDED, 8, true, request},
      {"REQUEST", typed(3), port, DHCP_SNOOP_FORWARDED, 3, true, request},
      {"foreign OFFER", from_server(2, client).from_ip(5), uplink, DHCP_SNOOP_SERVER_NOT_LISTED, 2, false, not_listed},
      {"foreign ACK", ack(client).from_ip(5), uplink, DHCP_SNOOP_SERVER_NOT_LISTED, 5, false, not_listed},
      {"foreign NAK", from_server(6, client).from_ip(5), uplink, DHCP_SNOOP_SERVER_NOT_LISTED, 6, false, not_listed},
      {"client on a trusted port", typed(8).from_ip(5), uplink, DHCP_SNOOP_FORWARDED, 8, true, nullptr},
      {"OFFER", from_server(2, client), uplink, DHCP_SNOOP_FORWARDED, 2, true, nullptr},
      {"ACK", ack(client), uplink, DHCP_SNOOP_FORWARDED, 5, true, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const uint32_t counted_on = row.in_port == 99 ? 0 : row.in_port;
    const uint32_t before = met(row.verdict, counted_on, row.type);
    const int said = row.text != nullptr ? device().logged(row.text, "DHCPS_packet") : 0;
    const Fate fate = receive(row.message, row.in_port);
    EXPECT_EQ(fate.result, -1);
    EXPECT_EQ(fate.sent.size(), row.sent ? 1u : 0u);
    for (const auto& frame : fate.sent) EXPECT_EQ(frame.bytes, row.message.frame()) << "sent as it came";
    EXPECT_EQ(met(row.verdict, counted_on, row.type), before + 1);
    EXPECT_TRUE(row.text == nullptr || device().logged(row.text, "DHCPS_packet") == said + 1);
  }
  EXPECT_EQ(entry_of(port).dropped_offer, 1u);
  EXPECT_EQ(entry_of(port).dropped_ack, 1u);
  EXPECT_EQ(entry_of(uplink).dropped_offer, 1u);
  EXPECT_EQ(entry_of(uplink).dropped_ack, 1u);
  EXPECT_EQ(find(stranger), nullptr) << "no message but DISCOVER and REQUEST makes a binding";
  EXPECT_NE(find(client), nullptr) << "neither DECLINE nor a RELEASE from elsewhere takes it away";
  dhcp_snooping_statistics_clear(port);
  EXPECT_EQ(entry_of(port).dropped_offer + met(DHCP_SNOOP_FORWARDED, port, wire::INFORM), 0u);
  EXPECT_EQ(entry_of(uplink).dropped_ack, 1u);
  EXPECT_EQ(met(DHCP_SNOOP_UNKNOWN_PORT, 0, 0), 1u);
  dhcp_snooping_statistics_clear(0);
  EXPECT_EQ(entry_of(uplink).dropped_ack + met(DHCP_SNOOP_UNKNOWN_PORT, 0, 0), 0u);
  DhcpSnoopCounters counters;
  EXPECT_EQ(dhcp_snoop_get_counters(99, &counters), -1);
}

TEST_F(SnoopingInspection, ExemptSenderPassesTheLateSourceCheckAndNotTheEarlyOne) {
  const Mac proxy{0x02, 0xcc, 0, 0, 0, 1};
  bind(client);
  set_dhcp_snoop_verify(1);
  const auto passes = [&](uint8_t type) { return receive(typed(type).from(proxy), port).sent.size() == 1; };
  EXPECT_FALSE(passes(wire::REQUEST) || passes(wire::INFORM));
  set_dhcp_snoop_verify_mac(1, proxy.data(), 0);
  EXPECT_FALSE(passes(wire::REQUEST)) << "the gate does not ask who sends";
  EXPECT_TRUE(passes(wire::INFORM));
  set_dhcp_snoop_verify_mac(1, proxy.data(), 1);
  EXPECT_FALSE(passes(wire::INFORM)) << "mode 1 is checked like anybody";
  set_dhcp_snoop_verify_mac(1, client.data(), 2);
  EXPECT_TRUE(passes(wire::REQUEST) && passes(wire::INFORM)) << "an exempt client may speak through others";
  set_dhcp_snoop_verify_mac(1, client.data(), 1);
  set_dhcp_snoop_verify(0);
  EXPECT_TRUE(passes(wire::REQUEST));
}

TEST_F(SnoopingInspection, ClientIsLearntBeforeAnythingElseIsKnownOfItsFrame) {
  receive(discover(mac_number(1)).at(236, {0}), port);
  receive(discover(mac_number(2)).vlan(30), port);
  receive(discover(mac_number(3)), uplink);
  receive(typed(wire::REQUEST, mac_number(4)), other_port);
  receive(typed(wire::INFORM, mac_number(5)), port);
  EXPECT_EQ(get_mac_bind_entry_count(), 4);
  EXPECT_EQ(find(mac_number(2))->vlan, 30);
  EXPECT_EQ(find(mac_number(1))->time, 0) << "not stamped without the cookie";
  at(20);
  const MacBindStruct* learning = find(mac_number(4));
  EXPECT_EQ(learning->intf, other_port);
  receive(discover(mac_number(4)).vlan(20), group);
  EXPECT_EQ(learning->intf, uint32_t{group});
  EXPECT_EQ(learning->new_intf, uint32_t{group});
  EXPECT_EQ(learning->vlan, 20);
  EXPECT_EQ(learning->time, static_cast<int32_t>(start + 20));
  EXPECT_EQ(learning->state, 0);
  EXPECT_EQ(device().logged("recv a dhcp packet:vlan(20),agg(2),message_type(1)", "DHCPS_packet"), 1);
  EXPECT_EQ(device().logged("recv a dhcp packet:vlan(30),port(3),message_type(1)", "DHCPS_packet"), 1);
}

TEST_F(SnoopingInspection, AckIsJudgedByTheBindingsVlanAndNotByItsOwn) {
  receive(discover(client).vlan(30), port);
  receive(ack(client).vlan(10), uplink);
  EXPECT_EQ(find(client)->state, 0) << "bound to a VLAN that is not snooped";
  receive(discover(neighbour), port);
  receive(ack(neighbour).vlan(30), uplink);
  EXPECT_EQ(find(neighbour)->state, 1);
  EXPECT_EQ(find(neighbour)->vlan, 10);
  EXPECT_EQ(receive(ack(mac_number(1)).vlan(10), uplink).sent.size(), 1u) << "a stranger's ACK passes through";
  EXPECT_EQ(find(mac_number(1)), nullptr);
}

TEST_F(SnoopingInspection, AckBringsLeaseAndAddress) {
  MacBindStruct& dynamic = bind(client, address, port, 10, 600);
  receive(from_server(wire::ACK, client), uplink);
  EXPECT_EQ(dynamic.lease, 600) << "without option 51 the lease stays";
  receive(ack(client, address, 0), uplink);
  EXPECT_EQ(dynamic.lease, 86400);
  receive(from_server(wire::ACK, client).option(51, {0, 0}), uplink);
  EXPECT_EQ(dynamic.lease, 86400) << "a lease that is cut short is none";
  set_dhcp_snoop_bind(1, neighbour.data(), 0, port, 10, 0);
  receive(ack(neighbour, address + 9, 0), uplink);
  EXPECT_EQ(find(neighbour)->lease, 3600);
  // ciaddr wins where it differs, with no trace of the binding under its former address.
  receive(ack(client).at(12, wire::be32(address + 1)), uplink);
  EXPECT_EQ(find_VlanIp_entry(10, address), nullptr);
  EXPECT_EQ(find_VlanIp_entry(10, address + 1), &dynamic);
  receive(ack(client, 0).at(12, wire::be32(address + 2)), uplink);
  EXPECT_EQ(dynamic.ip, address + 2);
  receive(ack(client, 0), uplink);
  EXPECT_EQ(dynamic.ip, 0u);
  EXPECT_EQ(device().logged("The entry vlan or ipaddr is zero\n", "DHCPS_table"), 1);
  EXPECT_FALSE(dhcp::base::list_linked(dynamic.ip_link));
}

TEST_F(SnoopingInspection, NeighboursHearOfAMoveAtTheAck) {
  bind(client);
  device().take_neighbour_calls();
  receive(typed(wire::REQUEST).vlan(20), group);
  EXPECT_THAT(device().take_neighbour_calls(), IsEmpty());
  receive(ack(client).vlan(20), uplink);
  EXPECT_THAT(device().take_neighbour_calls(),
              ElementsAre("guard- 02:aa:00:00:00:01 c0a8010a 3 10 600", "arp- 02:aa:00:00:00:01 c0a8010a 3",
                          "guard+ 02:aa:00:00:00:01 c0a8010a 268435458 20 600"));
}

TEST_F(SnoopingInspection, ReleaseDeletesADynamicBindingAndEmptiesAStaticOne) {
  set_dhcp_snoop_bind(1, neighbour.data(), address + 1, port, 10, 900);
  for (const uint32_t in_port : {port, uplink}) {
    bind(client, address, in_port);
    device().take_neighbour_calls();
    EXPECT_EQ(receive(typed(wire::RELEASE), in_port).sent.size(), 1u) << "forwarded all the same";
    EXPECT_EQ(find(client), nullptr) << "also on a trusted port";
    EXPECT_THAT(device().take_neighbour_calls(), testing::SizeIs(2));
  }
  receive(typed(wire::RELEASE, neighbour), port);
  ASSERT_NE(find(neighbour), nullptr);
  EXPECT_EQ(find(neighbour)->ip, 0u);
  EXPECT_EQ(find_VlanIp_entry(10, address + 1), nullptr);
  receive(typed(wire::RELEASE, neighbour), port);
  EXPECT_EQ(find(neighbour)->is_static, 1);
}

TEST_F(SnoopingInspection, RelayAndServerGetWhatIsTheirs) {
  bind(client);
  const auto passed = [](const Message& m, uint32_t in_port) {
    const Fate fate = receive(m, in_port);
    EXPECT_EQ(fate.sent.size(), fate.result == 0 ? 0u : 1u);
    return fate.result == 0;
  };
  dhcps_cfg.enable = 1;
  EXPECT_FALSE(passed(discover(client), port)) << "the server alone is not asked for";
  EXPECT_TRUE(passed(discover(client).vlan(30), port));
  dhcps_cfg.enable = 0;
  set_relay(true);
  EXPECT_TRUE(passed(discover(client), port));
  EXPECT_TRUE(passed(from_server(wire::OFFER, client), uplink));
  EXPECT_TRUE(passed(discover(client).vlan(30), port));
  EXPECT_EQ(met(DHCP_SNOOP_PASSED, port, 1) + met(DHCP_SNOOP_PASSED, uplink, 2), 2u);
}

TEST_F(SnoopingInspection, GroupIsAnInterfaceOfItsOwn) {
  const auto ports = [] { return receive(ack(client).unicast_to(client, address), uplink).sent.at(0).ports; };
  device().mac_table[{client, 10}] = 5;
  device().group_of_port[5] = 0;
  EXPECT_THAT(ports(), ElementsAre(5)) << "a group of no number is none";
  device().mac_table[{client, 10}] = group;
  EXPECT_THAT(ports(), ElementsAre(uint32_t{group}));
}

TEST_F(SnoopingInspection, FrameWhoseHeadersLieOutsideIsNotRead) {
  wire::Received lying(discover(client).frame(), port);
  lying.skp()->psize = 300;
  lying.skp()->ud_hdr = lying.skp()->data + 100;
  EXPECT_EQ(dhcp_packet_snooping_process(lying.skp()), -1);
  lying.skp()->ud_hdr = nullptr;
  EXPECT_EQ(dhcp_packet_snooping_process(lying.skp()), -1);
  EXPECT_THAT(device().take_sent(), IsEmpty());
  EXPECT_EQ(met(DHCP_SNOOP_MALFORMED, port, 0) + met(DHCP_SNOOP_MALFORMED, 0, 0), 2u);
}

TEST_F(SnoopingInspection, RogueServerIsRememberedAndNamedOnceAMinute) {
  DhcpSnoopRogue rogue;
  const auto offer = [](uint32_t n) { receive(from_server(wire::OFFER, client).from(mac_number(n)), other_port); };
  const auto warnings = [] {
    const auto log = device().log();
    return std::count_if(log.begin(), log.end(), [](const auto& line) {
      return line.level == 4 && line.text.find("]rogue dhcp server:mac ") != std::string::npos;
    });
  };
  dhcp_snoop_get_rogue(&rogue);
  EXPECT_EQ(rogue.time, 0u);
  receive(typed(9), port);
  for (int n = 0; n < 5; ++n) offer(1);
  EXPECT_EQ(warnings(), 1);
  EXPECT_EQ(device().logged_at("rogue dhcp server:mac 00:10:20:30:00:01,ip 192.168.1.1,port Gi4,vlan 10"), 1);
  at(60);
  offer(1);
  EXPECT_EQ(warnings(), 2);
  for (uint32_t n = 2; n < 100; ++n) offer(n);
  EXPECT_EQ(warnings(), 9) << "made-up addresses do not flood the log";
  dhcp_snoop_get_rogue(&rogue);
  EXPECT_EQ(rogue.seen, 104u);
  EXPECT_EQ(rogue.time, start + 60);
  EXPECT_EQ(rogue.intf, uint32_t{other_port});
  EXPECT_EQ(rogue.vlan, 10);
  EXPECT_EQ(rogue.ip, uint32_t{server_ip});
  EXPECT_EQ(rogue.mac[5], 99);
}

TEST_F(SnoopingInspection, DispatcherAsksSnoopingFirst) {
  const auto pass = [](const Message& message) {
    wire::Received received(message.frame(), port);
    DhcpEvent event{};
    event.type = 1;
    event.data = received.skp();
    dhcp::module::dispatch(event);
    return device().take_sent().size();
  };
  snprintf(dhcpr_cfg.ifname, sizeof dhcpr_cfg.ifname, "eth0");
  EXPECT_EQ(pass(discover(client)), 1u);
  EXPECT_EQ(device().logged("DHCP Snooping Receive dhcp packet\n", "DHCP snooping"), 1);
  device().mac_table[{fake::Device::default_mac, 10}] = 5;
  EXPECT_EQ(pass(typed(wire::REQUEST).unicast_to(fake::Device::default_mac, server_ip)), 0u) << "for the device itself";
  EXPECT_EQ(met(DHCP_SNOOP_FORWARDED, port, wire::REQUEST), 0u);
  set_dhcp_snoop_switch(0);
  EXPECT_EQ(pass(discover(client)), 0u);
}

}  // namespace
