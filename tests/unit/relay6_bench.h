/// The DHCPv6 relay between clients on VLANs 10 and 11 and servers on VLAN 20.
#pragma once

#include "dhcp/relay6.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace bench {

using wire::ip6;

class Relay6Bench : public DeviceBench {
 protected:
  static constexpr uint32_t client_port = 3, server_port = 24;
  static constexpr Mac own_mac = fake::Device::default_mac, client_mac{2, 0xaa, 0, 0, 0, 1};
  static constexpr Mac server_mac{2, 0xbb, 0, 0, 0, 1}, other_mac{2, 0xbb, 0, 0, 0, 2};

  void SetUp() override {
    DeviceBench::SetUp();
    at(0);
    for (const uint32_t vlan : {10u, 11u, 20u}) {
      device().vlan_interfaces[vlan] = {
          .mac = mac_number(vlan), .ip6 = "2001:db8:" + std::to_string(vlan) + "::1", .prefix6 = 64};
      device().mac_table[{client_mac, vlan}] = client_port;
    }
    exit_dhcp6_relay_cfg();  // whatever the tests of the whole module have left
    dhcp6_relay_clear_counters();
    init_dhcp6_relay_cfg();
  }
  /// Nothing outlives the relay, and no word is left taken.
  void TearDown() override {
    fake::fail_allocations(0);
    exit_dhcp6_relay_cfg();
    EXPECT_EQ(gDhcp6Relay.info_count.load() + gDhcp6Relay.server_count, 0);
    for (const Dhcp6InfoNode& slot : gDhcp6Relay.info_table) EXPECT_TRUE(slot.valid == 0 && slot.link == nullptr);
    EXPECT_EQ(gDhcp6Relay.server_busy.load() + gDhcp6Relay.port_users.load(), 0u);
    EXPECT_TRUE(device().take_sent().empty());
  }

  /// The neighbour answers, and the switch knows its port.
  static void answers(const char* address, const Mac& mac) {
    device().neighbours6[ip6(address)] = mac;
    device().mac_table[{mac, 20}] = server_port;
  }
  static int add(const char* destination, uint32_t out_intf = 0) {
    return dhcp6_relay_set_dhcp_serverip(1, ip6(destination).data(), out_intf);
  }
  static int remove(const char* destination) { return dhcp6_relay_set_dhcp_serverip(0, ip6(destination).data(), 0); }
  static std::vector<Dhcp6RelayDestination> listed() {
    std::vector<Dhcp6RelayDestination> all(DHCP6_RELAY_MAX_DESTINATIONS + 1);
    all.resize(dhcp6_relay_get_destinations(all.data(), all.size()));
    return all;
  }
  static Dhcp6RelayCounters counted() {
    Dhcp6RelayCounters counters{};
    dhcp6_relay_get_counters(&counters);
    return counters;
  }
};

}  // namespace bench
