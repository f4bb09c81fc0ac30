/// DHCPv6 snooping: what becomes of each message, what REPLYs teach the table, how bindings age.
#include "base/list.h"
#include "dhcp/relay6.h"
#include "dhcp/trap.h"
#include "module/module.h"
#include "tests/unit/snooping6_bench.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::Mac;
using bench::mac_number;
using testing::ElementsAre;
using testing::IsEmpty;
using wire::ip6;
using wire::Message6;

class Snooping6 : public bench::Snooping6Bench {
 protected:
  static constexpr Mac fixed{0x02, 0xaa, 0, 0, 0, 0x0f}, away{0x02, 0xaa, 0, 0, 0, 0x0e};
  static void solicit(const Mac& mac, uint32_t in_port = port, uint16_t vlan = 10) {
    receive(Message6(wire::SOLICIT6, mac).vlan(vlan), in_port);
  }
};

/// One letter a fate, and what goes with it: verdict and text on the way out, with a service behind and without.
struct Letter {
  char letter;
  DhcpSnoopVerdict verdict;
  const char* text;
};
constexpr Letter letters[] = {
    {'f', DHCP_SNOOP_FORWARDED, "packet,forward the dhcpv6 packet."},
    {'p', DHCP_SNOOP_PASSED, "packet,goto dhcp relay function"},
    {'n', DHCP_SNOOP_NO_BINDING,
     "packet,the request type packet do not find the bind node ,so drop the invalid packet"},
    {'e', DHCP_SNOOP_STATIC_ELSEWHERE,
     "packet,the packet port or vlan is  wrong in the static bind node,so drop the invalid packet"},
    {'u', DHCP_SNOOP_SERVER_ON_UNTRUSTED, "packet,the packet message type is wrong,so drop"},
    {'l', DHCP_SNOOP_SERVER_NOT_LISTED, "packet,the source ip addr is invalid in the packet,so drop the packet"},
    {'a', DHCP_SNOOP_NO_ADDRESS, nullptr},
};

TEST_F(Snooping6, EachTypeHasItsFateByTrustBindingAndWhatRunsBehind) {
  // Columns: no binding, learning, bound, static here, static on another port, static in another VLAN.
  const Mac clients[] = {mac_number(1), mac_number(2), client, fixed, away, neighbour};
  const struct {
    std::vector<int> types;
    bool trusted, listed;
    const char* fates;
  } rows[] = {
      {{wire::SOLICIT6, wire::REQUEST6, wire::CONFIRM6}, false, true, "ffffee"},
      {{wire::RENEW6, wire::REBIND6, wire::RELEASE6, wire::DECLINE6, wire::INFORMATION6, wire::RELAY_FORW6, 0, 14, 32,
        255},
       false,
       true,
       "nfffee"},
      {{wire::ADVERTISE6, wire::REPLY6, wire::RECONFIGURE6, wire::RELAY_REPL6}, false, true, "uuuuuu"},
      {{wire::ADVERTISE6, wire::RECONFIGURE6, wire::RELAY_REPL6}, true, true, "ffffff"},
      {{wire::ADVERTISE6, wire::REPLY6, wire::RECONFIGURE6, wire::RELAY_REPL6}, true, false, "llllll"},
      {{wire::REPLY6}, true, true, "aaaaaa"},
      {{wire::SOLICIT6, wire::RENEW6, wire::RELAY_FORW6, 0, 255}, true, false, "ffffff"},
  };
  for (const bool relay : {false, true}) {
    gDhcp6Relay.status = relay ? 1 : 0;
    for (const auto& row : rows) {
      for (const int type : row.types) {
        for (size_t column = 0; column < std::size(clients); ++column) {
          SCOPED_TRACE("type " + std::to_string(type) + ", column " + std::to_string(column) + row.fates);
          dhcp6_snooping_binding_clear(0, nullptr, nullptr, 0, 0);
          solicit(mac_number(2));
          bind(client);
          set_dhcp6_snoop_bind(1, fixed.data(), port, 10, 900);
          set_dhcp6_snoop_bind(1, away.data(), other_port, 10, 900);
          set_dhcp6_snoop_bind(1, neighbour.data(), port, 20, 900);
          set_dhcp6_snoop_serverip(1, row.listed ? server_ip.data() : ip6("fe80::99").data());
          device().mac_table[{server_mac, 10}] = uplink;
          dhcp6_snooping_statistics_clear(0);
          const Mac& mac = clients[column];
          const Message6 message = Message6(type, mac, {}).from_ip(server_ip).to(server_mac, server_ip);
          const uint32_t in_port = row.trusted ? uplink : port;
          const char wanted = relay && row.fates[column] == 'f' ? 'p' : row.fates[column];
          const auto* letter = std::find_if(letters, std::end(letters), [&](auto& l) { return l.letter == wanted; });
          device().log_.clear();
          const Fate fate = receive(message, in_port);
          EXPECT_EQ(fate.result, wanted == 'p' ? 0 : -1);
          EXPECT_EQ(fate.sent.size(), wanted == 'f' ? 1u : 0u);
          EXPECT_EQ(met(letter->verdict, in_port, type < 14 ? type : 0), 1u);
          EXPECT_TRUE(letter->text == nullptr || device().logged_at(letter->text, "dhcpc") == 1);
          delete_Dhcp6ServerInfo(server_ip.data());
          delete_Dhcp6ServerInfo(ip6("fe80::99").data());
        }
      }
    }
  }
}

TEST_F(Snooping6, GateEndsFramesBeforeAnybodyAsksForTheirType) {
  set_dhcp6_snoop_suppression(1, 7);
  const size_t lines = device().log().size();
  for (const uint32_t in_port : {99u, group, 7u}) {
    EXPECT_EQ(receive(Message6(wire::SOLICIT6, client).vlan(30), in_port).result, -1);
  }
  wire::Received headless(Message6(wire::SOLICIT6, client).frame(), port),
      cut(Message6(wire::SOLICIT6, client).frame());
  headless.skp()->ud_hdr = nullptr;
  EXPECT_EQ(dhcp6_packet_snooping_process(headless.skp()), -1);
  cut.skp()->psize -= 1;
  EXPECT_EQ(dhcp6_packet_snooping_process(cut.skp()), -1);
  EXPECT_EQ(device().log().size(), lines) << "in silence";
  EXPECT_THAT(device().take_sent(), IsEmpty());
  EXPECT_EQ(met(DHCP_SNOOP_UNKNOWN_PORT, 0, 0), 2u);
  EXPECT_EQ(met(DHCP_SNOOP_SUPPRESSED, 7, wire::SOLICIT6), 1u);
  EXPECT_EQ(met(DHCP_SNOOP_MALFORMED, 0, 0), 1u);
  EXPECT_EQ(met(DHCP_SNOOP_MALFORMED, port, 0), 1u);
  EXPECT_EQ(g_dhcp6_snooping.bind_count, 0);
}

TEST_F(Snooping6, OutsideTheSnoopedVlansNothingIsLearntAndNothingStopped) {
  const char* const text = "packet,the packet vlan is not dhcpv6 snooping vlan,forward it";
  for (const auto& message :
       {Message6(wire::REPLY6, neighbour).vlan(30), Message6(wire::SOLICIT6, neighbour).untagged()}) {
    EXPECT_EQ(receive(message, port).sent.size(), 1u);
  }
  EXPECT_EQ(device().logged_at(text, "dhcpc"), 2);
  gDhcp6Relay.status = 1;
  EXPECT_EQ(receive(Message6(wire::REPLY6, neighbour).vlan(30), port).result, 0);
  EXPECT_EQ(device().logged_at("packet,goto dhcpv6 relay function", "dhcpc"), 1);
  EXPECT_EQ(find(neighbour), nullptr);
}

TEST_F(Snooping6, ReplyEndsTheBindingOfAClientBehindATrustedPort) {
  bind(client, address, other_port);
  set_dhcp6_snoop_trust(1, other_port);
  receive(reply(client), uplink);
  EXPECT_EQ(find(client), nullptr);
}

TEST_F(Snooping6, NewcomerStaysOutOfTheIndexAndBothAgeCleanly) {
  MacBind6Struct& first = bind(client);
  MacBind6Struct& second = bind(neighbour);
  EXPECT_EQ(holder(10, address), &first);
  EXPECT_FALSE(dhcp::base::list_linked(second.ip_link));
  del_VlanIp6_table(&second);
  EXPECT_EQ(holder(10, address), &first);
  expect_whole();
  receive(reply(client, ip6("2001:db8::11")), uplink);
  receive(reply(neighbour), uplink);
  EXPECT_EQ(holder(10, address), &second) << "the place is free, and the next REPLY takes it";
  at(601);
  check_mac_bind6_valid();
  EXPECT_EQ(g_dhcp6_snooping.bind_count, 0);
  expect_whole();
}

TEST_F(Snooping6, StaticBindingKeepsItsAddressWithinItsVlan) {
  set_dhcp6_snoop_bind(1, fixed.data(), port, 10, 900);
  MacBind6Struct& binding = *find(fixed);
  receive(reply(fixed), uplink);
  set_dhcp6_snoop_bind(1, fixed.data(), other_port, 10, 70);
  EXPECT_EQ(holder(10, address), &binding);
  EXPECT_EQ(binding.new_intf, uint32_t{other_port});
  set_dhcp6_snoop_bind(1, fixed.data(), port, 20, 70);
  EXPECT_EQ(holder(10, address), nullptr);
  EXPECT_EQ(wire::bytes_of(wire::Ip6{}), Bytes(binding.ip6, binding.ip6 + 16));
  bind(client);
  set_dhcp6_snoop_bind(1, client.data(), port, 10, 70);
  EXPECT_EQ(holder(10, address), nullptr) << "a dynamic address is not a static one's";
  device().missing_vlans = {40};
  EXPECT_EQ(set_dhcp6_snoop_bind(1, neighbour.data(), port, 40, 1), -90);
  EXPECT_EQ(set_dhcp6_snoop_bind(1, neighbour.data(), group, 10, 1), -90);
  fake::fail_allocations(1);
  EXPECT_EQ(set_dhcp6_snoop_bind(1, neighbour.data(), port, 10, 1), -1);
  EXPECT_EQ(set_dhcp6_snoop_bind(0, fixed.data(), 0, 0, 0), 0);
  EXPECT_EQ(find(fixed), nullptr);
}

TEST_F(Snooping6, HeldBindingNeverEnds) {
  bind(client, address, port, 10, 20).hold = 1;
  at(1'000'000);
  check_mac_bind6_valid();
  EXPECT_NE(find(client), nullptr);
}

TEST_F(Snooping6, ConsumedFrameStillReachesTheDevicesOwnClient) {
  const auto lines = [](const Message6& message) {
    wire::Received received(message.frame(), port);
    DhcpEvent event{};
    event.type = dhcp::module::event_ipv6_frame;
    event.data = received.skp();
    const size_t before = device().log().size();
    dhcp::module::dispatch(event);
    std::vector<std::string> names;
    const auto log = device().log();
    for (size_t i = before; i < log.size(); ++i) {
      if (log[i].module == 28) names.push_back(log[i].name + log[i].text);
    }
    device().take_sent();
    return names;
  };
  const std::string snooped = "DHCP6 Snooping DHCP6 snooping receive packet\n",
                    relayed = "DHCP6 relay DHCP6 relay receive packet\n",
                    own = "DHCP6 client DHCP6 client receive packet\n";
  const Message6 to_device = Message6(wire::RENEW6, client).to(fake::Device::default_mac, server_ip);
  EXPECT_THAT(lines(to_device), ElementsAre(snooped, own));
  EXPECT_THAT(lines(Message6(wire::RENEW6, client)), ElementsAre(snooped));
  gDhcp6Relay.status = 1;
  EXPECT_THAT(lines(to_device), ElementsAre(snooped, own)) << "dropped by snooping, the relay does not see it";
  solicit(client);
  EXPECT_THAT(lines(to_device), ElementsAre(snooped, relayed, own));
  set_dhcp6_snoop_switch(0);
  EXPECT_THAT(lines(to_device), ElementsAre(relayed, own));
  close_dhcp6_cpu();
}

}  // namespace
