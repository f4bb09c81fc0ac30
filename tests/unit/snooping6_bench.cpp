#include "tests/unit/snooping6_bench.h"

#include "dhcp/relay6.h"

namespace bench {

void Snooping6Bench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  dhcp6_snoop_set_database_path(table_path().c_str(), next_path().c_str());
  init_dhcp6_snooping();
  set_dhcp6_snoop_switch(1);
  set_dhcp6_snoop_vlan(1, 10);
  set_dhcp6_snoop_vlan(1, 20);
  set_dhcp6_snoop_trust(1, uplink);
}

void Snooping6Bench::TearDown() {
  fake::fail_allocations(0);
  expect_whole();
  gDhcp6Relay.status = 0;
  exit_dhcp6_snooping();
  expect_whole();
  EXPECT_EQ(g_dhcp6_snooping.bind_count, 0);
  EXPECT_EQ(g_dhcp6_snooping.server_list, nullptr);
  EXPECT_EQ(g_dhcp6_snooping.intf_list, nullptr);
  EXPECT_THAT(device().rules(), testing::IsEmpty());
  dhcp6_snoop_set_database_path(nullptr, nullptr);
}

wire::Message6 Snooping6Bench::from_server(int type, const Mac& to, const Bytes& options) {
  return wire::Message6(type, server_mac, options).from_server().from_ip(server_ip).to(to, wire::ip6("fe80::2"));
}

MacBind6Struct& Snooping6Bench::bind(const Mac& mac, const wire::Ip6& leased, uint32_t in_port, uint16_t vlan,
                                     uint32_t valid_s) {
  receive(wire::Message6(wire::SOLICIT6, mac).vlan(vlan), in_port);
  receive(reply(mac, leased, valid_s).vlan(vlan), uplink);
  MacBind6Struct* binding = find(mac);
  EXPECT_TRUE(binding != nullptr && binding->state == 1);
  static MacBind6Struct none{};
  return binding != nullptr ? *binding : none;
}

uint32_t Snooping6Bench::met(DhcpSnoopVerdict verdict, uint32_t intf, int type) {
  Dhcp6SnoopCounters counters{};
  EXPECT_EQ(dhcp6_snoop_get_counters(intf, &counters), 0);
  return counters.count[verdict][type];
}

/// The address index's counts drift with every deletion, so they are not looked at.
void Snooping6Bench::expect_whole() {
  expect_index_at_rest(g_dhcp6_snooping.mac_index);
  expect_index_at_rest(g_dhcp6_snooping.ip_index, false);
  EXPECT_EQ(g_dhcp6_snooping.intf_busy.load(), 0u);
}

}  // namespace bench
