/// The DHCPv6 relay's tables: clients, destinations, the search for their MACs, display and save.
#include <fstream>
#include <random>

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

/// The client table as a plain reading of its rule.
struct Twin {
  struct Slot {
    uint32_t who, time, port;
    bool link;
  };
  std::array<std::optional<Slot>, 100> slots;

  size_t place(uint32_t who, uint32_t now) {
    std::optional<size_t> unused;
    for (size_t i = 0; i < slots.size(); ++i) {
      if (slots[i] && slots[i]->who == who) return i;
      if (slots[i] && now - slots[i]->time > 60) slots[i].reset();
      if (!slots[i] && !unused) unused = i;
    }
    const auto older = [](const auto& a, const auto& b) { return a->time < b->time; };
    return unused ? *unused : static_cast<size_t>(std::min_element(slots.begin(), slots.end(), older) - slots.begin());
  }
  const Slot* find(uint32_t who) const {
    for (const auto& slot : slots) {
      if (slot && slot->who == who) return &*slot;
    }
    return nullptr;
  }
};

TEST_F(Relay6Tables, ClientsAgreeWithANaiveTwin) {
  Twin twin;
  std::mt19937 random(6);
  uint32_t now = 0, port = 0;
  const auto address = [](uint32_t who) {
    Ip6 ip = ip6("fe80::");
    ip[14] = static_cast<uint8_t>(who >> 8);
    ip[15] = static_cast<uint8_t>(who);
    return ip;
  };
  for (int step = 0; step < 4000; ++step) {
    now += static_cast<uint32_t>(random() % 64 == 0 ? 55 : random() % 3 / 2);
    at(now);
    // Now a crowd, now a few.
    const uint32_t who = static_cast<uint32_t>(random()) % (step / 500 % 2 == 0 ? 300 : 20);
    const Bytes link(32, static_cast<uint8_t>(who));
    const bool linked = random() % 2 == 0;
    const size_t slot = twin.place(who, now);
    int found = 9;
    ASSERT_EQ(dhcp6_get_info_table_index(address(who).data(), &found), static_cast<int>(slot)) << step;
    ASSERT_EQ(found, twin.find(who) != nullptr) << step;
    twin.slots[slot] = {who, now, ++port & 0xffff, linked};
    ASSERT_EQ(
        dhcp6_relay_add_info_table(address(who).data(), client_mac.data(), port, who, linked ? link.data() : nullptr),
        0);
    const auto used = std::count_if(twin.slots.begin(), twin.slots.end(), [](const auto& s) { return s.has_value(); });
    ASSERT_EQ(gDhcp6Relay.info_count.load(), used) << step;

    const uint32_t asked = static_cast<uint32_t>(random()) % 300;
    const auto* known = twin.find(asked);
    uint16_t seen_port = 0, seen_vlan = 0;
    Bytes seen_link(32, 0xa5);
    ASSERT_EQ(dhcp6_relay_get_info_table(address(asked).data(), nullptr, &seen_port, &seen_vlan, seen_link.data()),
              known != nullptr ? 0 : -1);
    if (known == nullptr) continue;
    EXPECT_EQ(seen_port, known->port);
    EXPECT_EQ(seen_vlan, asked);
    EXPECT_EQ(seen_link, Bytes(32, static_cast<uint8_t>(known->link ? asked : 0)));
  }
}

TEST_F(Relay6Tables, ClientWithoutMemoryForItsLinkIsRefused) {
  const Bytes link(32, 1);
  fake::fail_allocations(1);
  EXPECT_EQ(dhcp6_relay_add_info_table(server.data(), client_mac.data(), 1, 10, link.data()), -1);
  EXPECT_EQ(device().logged_at("malloc failed for dhcpv6 relay link \n", "dhcpc"), 1);
  EXPECT_EQ(gDhcp6Relay.info_count.load(), 0);
}

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
  fake::fail_allocations(1, 1);
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

  at(50);
  EXPECT_EQ(dhcp6_relay_find_dhcp_serverip(ip6("2001:db8:20::1").data(), 0, nullptr, 0), nullptr);
  EXPECT_EQ(dhcp6_relay_find_dhcp_serverip(server.data(), 1, nullptr, 0), nullptr);
  const Dhcp6ServerNode* node = dhcp6_relay_find_dhcp_serverip(server.data(), 0, other_mac.data(), 30);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->vlan, 30u);
  EXPECT_EQ(node->time, start + 50);
}

TEST_F(Relay6Tables, SwitchDisplayAndSave) {
  const auto shown = [] {
    char path[128] = "";
    const int size = show_dhcp6_relay_info(path, 0, 0);
    EXPECT_EQ(size, static_cast<int>(strlen(path)) + 1);
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const auto saved = [] {
    char text[512] = {};
    FILE* stream = fmemopen(text, sizeof text, "w");
    EXPECT_EQ(onu_dhcp6_relay_save(stream), 0);
    fclose(stream);
    return std::string(text);
  };
  EXPECT_EQ(saved(), "");
  answers("2001:db8:20::5", server_mac);
  add("2001:db8:20::5", 7);
  add("2001:db8:20::6");
  EXPECT_EQ(set_dhcp6_relay_start(1), 0);
  EXPECT_EQ(device().rules().size(), 2u);
  EXPECT_EQ(shown(),
            "\nDHCPv6 relay status :            enable \n"
            "\nDestination address   Output Interface    Status\n"
            "--------------------  ----------------    ------\n"
            "2001:db8:20::5        Gi7                 valid\n"
            "2001:db8:20::6        --                  invalid\n\n");
  EXPECT_EQ(saved(),
            "service dhcpv6-relay\r\n"
            "ipv6 dhcp relay destination 2001:db8:20::5 interface gigabitethernet 7\r\n"
            "ipv6 dhcp relay destination 2001:db8:20::6\r\n");
  EXPECT_EQ(set_dhcp6_relay_start(0), 0);
  EXPECT_TRUE(device().rules().empty());
}

TEST_F(Relay6Tables, SilentDestinationIsTriedSixRoundsAndRestsFive) {
  EXPECT_EQ(is_need_dhcp6_server_probe(), 0);
  add("2001:db8:20::5");
  device().take_solicitations();
  EXPECT_EQ(is_need_dhcp6_server_probe(), 1);
  std::string rounds;
  for (int i = 0; i < 25; ++i) rounds += std::to_string(round());
  EXPECT_EQ(rounds, "1111110000011111100000111");
  for (int i = 0; i < 3; ++i) round();
  EXPECT_EQ(round(), 0u) << "resting";
  add("2001:db8:20::6");
  device().take_solicitations();
  EXPECT_EQ(round(), 2u) << "a new destination ends the rest";

  at(100);
  answers("2001:db8:20::6", server_mac);
  EXPECT_EQ(round(), 2u);
  EXPECT_EQ(state(1), "valid " + mac_text(server_mac));
  EXPECT_EQ(listed()[1].age, 0u);
  answers("2001:db8:20::5", other_mac);
  EXPECT_EQ(round(), 1u);
  EXPECT_EQ(is_need_dhcp6_server_probe(), 0);
  EXPECT_EQ(round(), 0u);
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

TEST_F(Relay6Tables, NextHopIsSearchedInEightVlans) {
  using Interfaces = std::map<uint32_t, fake::VlanInterface>;
  const auto with = [](const char* own, uint8_t prefix, const char* gateway = "") {
    return fake::VlanInterface{.ip6 = own, .prefix6 = prefix, .gateway6 = gateway};
  };
  const auto direct = with("2001:db8:20::1", 64), elsewhere = with("2001:db8:1::1", 64);
  Interfaces crowd;
  for (uint32_t vlan = 1; vlan <= 8; ++vlan) crowd[vlan] = elsewhere;
  Interfaces eight = crowd, nine = crowd;
  eight[8] = direct;
  nine[9] = direct;
  struct {
    const char* what;
    Interfaces interfaces;
    uint32_t vlan;  // 0 = no way
    const char* hop;
  } rows[] = {
      {"nothing", {}, 0, ""},
      {"subnet", {{5, elsewhere}, {6, direct}}, 6, "2001:db8:20::5"},
      {"edge of a prefix", {{5, with("2001:db8:20::4", 126)}}, 5, "2001:db8:20::5"},
      {"beyond a prefix", {{5, with("2001:db8:20::4", 128)}}, 0, ""},
      {"no length", {{5, with("2001:db8:1::1", 0)}}, 5, "2001:db8:20::5"},
      {"gateway first", {{5, with("2001:db8:1::1", 64, "fe80::1")}, {6, direct}}, 5, "fe80::1"},
      {"IPv4 alone", {{5, with("", 0)}, {6, direct}}, 6, "2001:db8:20::5"},
      {"unspecified", {{5, with("::", 0)}, {6, direct}}, 0, ""},
      {"the eighth", eight, 8, "2001:db8:20::5"},
      {"the ninth", nine, 0, ""},
  };
  for (const auto& row : rows) {
    device().vlan_interfaces = row.interfaces;
    device().neighbours6 = {{ip6(row.hop), server_mac}};
    uint32_t vlan = 0;
    Mac mac{};
    EXPECT_EQ(dhcp6_relay_get_server_mac(server.data(), mac.data(), &vlan, 1), row.vlan != 0 ? 0 : -2) << row.what;
    EXPECT_EQ(vlan, row.vlan) << row.what;
    EXPECT_EQ(mac, row.vlan != 0 ? server_mac : Mac{}) << row.what;
  }
  EXPECT_EQ(device().logged_at("vlan ip addr is invalid\n", "dhcpc"), 1);
  EXPECT_EQ(device().logged_at("Probe device name:eth0.6", "dhcpc"), 2);
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
  EXPECT_EQ(device().logged_at("probe,mac : " + mac_text(server_mac), "dhcpc"), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(get_ip6_mac("eth0.21", server.data(), mac.data(), 1), -1) << "no such interface";
  testing::internal::GetCapturedStdout();
  device().sockets_cannot_be_made = true;
  EXPECT_EQ(get_ip6_mac("eth0.20", server.data(), mac.data(), 1), -1);
}

}  // namespace
