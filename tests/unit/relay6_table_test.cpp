/// The DHCPv6 relay's destinations, and the search for their MACs.
#include "platform/text.h"
#include "tests/unit/relay6_bench.h"

namespace {

using namespace wire;
using bench::device;
using testing::ElementsAre;

class Relay6Tables : public bench::Relay6Bench {
 protected:
  static inline const Ip6 server = ip6("2001:db8:20::5");

  static std::string mac_text(const Mac& mac) {
    char text[18];
    return onu_mac2str(mac.data(), text);
  }
  static std::string state(size_t index) {
    const Dhcp6RelayDestination one = listed().at(index);
    Mac mac;
    std::copy_n(one.mac, mac.size(), mac.begin());
    return dhcp6_relay_state_name(one.state) + (" " + mac_text(mac));
  }
  /// Solicitations that one round of probing sends.
  static size_t round() {
    dhcp6_relay_dhcp_server_mac_probe();
    return device().take_solicitations().size();
  }
};

TEST_F(Relay6Tables, DestinationsAreAddedUpdatedAndRemoved) {
  for (int i = 1; i <= DHCP6_RELAY_MAX_DESTINATIONS; ++i) {
    ASSERT_EQ(add(("2001:db8:20::" + std::to_string(i)).c_str()), 0) << i;
  }
  EXPECT_EQ(add("2001:db8:20::f"), -1) << "one too many";
  EXPECT_EQ(add("2001:db8:20::5", 7), -1) << "listed, and nothing new is known";
  answers("2001:db8:20::5", server_mac);
  EXPECT_EQ(add("2001:db8:20::5", 7), 0) << "an update needs no room";
  EXPECT_EQ(remove("2001:db8:20::f"), 0);
  EXPECT_EQ(remove("2001:db8:20::1"), 0);
  fake::fail_allocations(1);
  EXPECT_EQ(add("2001:db8:20::f"), -1) << "no memory";
  fake::fail_allocations(0);
  EXPECT_EQ(add("2001:db8:20::f"), 0);
  const auto all = listed();
  ASSERT_EQ(all.size(), 11u);
  EXPECT_EQ(all[0].ip6[15], 2) << "oldest first";
  EXPECT_EQ(all[10].ip6[15], 15);
  EXPECT_EQ(all[3].out_intf, 7u);
  EXPECT_EQ(state(3), "valid " + mac_text(server_mac));
  EXPECT_EQ(state(4), "probing " + mac_text({}));

  EXPECT_EQ(dhcp6_relay_find_dhcp_serverip(ip6("2001:db8:20::1").data(), 0, nullptr, 0), nullptr);
}

/// The rounds are counted as for IPv4.
TEST_F(Relay6Tables, NewDestinationEndsTheRestFromProbing) {
  add("2001:db8:20::5");
  EXPECT_EQ(is_need_dhcp6_server_probe(), 1);
  for (int i = 0; i < 6; ++i) round();
  EXPECT_EQ(round(), 0u);
  answers("2001:db8:20::5", server_mac);
  add("2001:db8:20::6");
  device().take_solicitations();
  EXPECT_EQ(round(), 2u);
  EXPECT_EQ(state(0), "valid " + mac_text(server_mac));
}

TEST_F(Relay6Tables, AgedMacIsLearntAnewOrGoesStale) {
  device().mac_ageing_s = 300;
  answers("2001:db8:20::5", server_mac);
  add("2001:db8:20::5");
  device().take_solicitations();
  at(300);
  EXPECT_EQ(round(), 0u);
  at(301);
  answers("2001:db8:20::5", other_mac);
  EXPECT_EQ(round(), 1u);
  EXPECT_EQ(state(0), "valid " + mac_text(other_mac));
  device().neighbours6.clear();
  at(602);
  EXPECT_EQ(round(), 1u);
  EXPECT_EQ(state(0), "stale " + mac_text({}));
  answers("2001:db8:20::5", server_mac);
  at(902);
  EXPECT_EQ(round(), 0u) << "not handed to the rounds of probing";
  at(903);
  EXPECT_EQ(round(), 1u);
  EXPECT_EQ(state(0), "valid " + mac_text(server_mac));
}

/// The walk over the VLANs is the IPv4 relay's; what an interface says to it is not.
TEST_F(Relay6Tables, NextHopIsJudgedByPrefixAndGateway) {
  const auto with = [](const char* own, uint8_t prefix, const char* gateway = "") {
    return fake::VlanInterface{.ip6 = own, .prefix6 = prefix, .gateway6 = gateway};
  };
  const auto direct = with("2001:db8:20::1", 64);
  const struct {
    const char* what;
    std::map<uint32_t, fake::VlanInterface> interfaces;
    uint32_t vlan;  // 0 = no way
    const char* hop;
  } rows[] = {
      {"subnet", {{5, with("2001:db8:1::1", 64)}, {6, direct}}, 6, "2001:db8:20::5"},
      {"edge of a prefix", {{5, with("2001:db8:20::4", 126)}}, 5, "2001:db8:20::5"},
      {"beyond a prefix", {{5, with("2001:db8:20::4", 128)}}, 0, ""},
      {"no length", {{5, with("2001:db8:1::1", 0)}}, 5, "2001:db8:20::5"},
      {"gateway first", {{5, with("2001:db8:1::1", 64, "fe80::1")}, {6, direct}}, 5, "fe80::1"},
      {"IPv4 alone", {{5, with("", 0)}, {6, direct}}, 6, "2001:db8:20::5"},
      {"unspecified", {{5, with("::", 0)}, {6, direct}}, 0, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    device().vlan_interfaces = row.interfaces;
    device().neighbours6 = {{ip6(row.hop), server_mac}};
    uint32_t vlan = 0;
    Mac mac{};
    EXPECT_EQ(dhcp6_relay_get_server_mac(server.data(), mac.data(), &vlan, 1), row.vlan != 0 ? 0 : -2);
    EXPECT_EQ(vlan, row.vlan);
    EXPECT_EQ(mac, row.vlan != 0 ? server_mac : Mac{});
  }
}

TEST_F(Relay6Tables, NeighbourIsBelievedOnlyForItself) {
  const Bytes head{136, 0, 0, 0, 0x60, 0, 0, 0}, link{2, 1, 9, 9, 9, 9, 9, 9};
  device().icmp6_before = {
      Bytes{135, 0, 0, 0, 0, 0, 0, 0} + bytes_of(server) + link,
      head + bytes_of(ip6("2001:db8:20::6")) + link,
      head + bytes_of(server),
      head + bytes_of(server) + Bytes{1, 1, 9, 9, 9, 9, 9, 9},
      head + bytes_of(server) + Bytes{2, 2, 9, 9, 9, 9, 9, 9},
  };
  Mac mac{};
  EXPECT_EQ(get_ip6_mac("eth0.20", server.data(), mac.data(), 0), -1) << "silent";
  EXPECT_EQ(mac, Mac{});
  device().neighbours6[server] = server_mac;
  device().take_solicitations();
  EXPECT_EQ(get_ip6_mac("eth0.20", server.data(), mac.data(), 3), 0);
  EXPECT_EQ(mac, server_mac);
  const Mac asker = bench::mac_number(20);
  EXPECT_THAT(device().take_solicitations(), ElementsAre(Bytes{135, 0, 0, 0, 0, 0, 0, 0} + bytes_of(server) +
                                                         Bytes{1, 1} + Bytes(asker.begin(), asker.end())));
  device().sockets_cannot_be_made = true;
  EXPECT_EQ(get_ip6_mac("eth0.20", server.data(), mac.data(), 1), -1);
}

}  // namespace
