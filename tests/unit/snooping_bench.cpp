#include "tests/unit/snooping_bench.h"

#include <semaphore.h>

#include <numeric>

#include "base/list.h"
#include "dhcp/relay.h"
#include "dhcp/trap.h"
#include "platform/intf_list.h"

extern "C" sem_t dhcp_snooping_sem;

namespace bench {

void SnoopingBench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  init_DHCPR_cfg();
  init_DHCPS_cfg();
  dhcp_snoop_set_database_path(table_path().c_str(), next_path().c_str());
  init_dhcp_snooping();
  set_dhcp_snoop_switch(1);
  set_dhcp_snoop_vlan(1, 10);
  set_dhcp_snoop_vlan(1, 20);
  set_dhcp_snoop_trust(1, uplink);
}

void SnoopingBench::TearDown() {
  fake::fail_allocations(0);
  expect_whole();
  dhcpr_cfg.status = DHCPR_OFF;
  dhcps_cfg.enable = 0;
  exit_dhcp_snooping();
  exit_DHCPR_cfg();
  expect_whole();
  EXPECT_EQ(g_dhcp_snooping.bind_count, 0);
  EXPECT_EQ(g_dhcp_snooping.server_list, nullptr);
  EXPECT_EQ(g_dhcp_snooping.verify_count, 0);
  EXPECT_EQ(g_dhcp_snooping.sub_option_count, 0);
  EXPECT_EQ(g_dhcp_snooping.raw_socket, -1);
  EXPECT_THAT(device().rules(), testing::IsEmpty());
  int lock = 0;
  sem_getvalue(&dhcp_snooping_sem, &lock);
  EXPECT_EQ(lock, 1) << "snooping lock";
  dhcp_snoop_set_database_path(nullptr, nullptr);
}

wire::Message SnoopingBench::from_server(int type, const Mac& to, uint32_t yiaddr) {
  return wire::Message(type, to).at(0, {2}).at(16, wire::be32(yiaddr)).from(server_mac).from_ip(server_ip);
}

MacBindStruct& SnoopingBench::bind(const Mac& mac, uint32_t yiaddr, uint32_t in_port, uint16_t vlan, uint32_t lease_s) {
  receive(discover(mac).vlan(vlan), in_port);
  receive(ack(mac, yiaddr, lease_s).vlan(vlan), uplink);
  MacBindStruct* binding = find(mac);
  EXPECT_TRUE(binding != nullptr && binding->state == 1);
  static MacBindStruct none{};
  return binding != nullptr ? *binding : none;
}

SnoopIntfEntry& SnoopingBench::entry_of(uint32_t intf) {
  return *reinterpret_cast<SnoopIntfEntry*>(intf_order_list_search(g_dhcp_snooping.intf_list, intf));
}

uint32_t SnoopingBench::met(DhcpSnoopVerdict verdict, uint32_t intf, int type) {
  DhcpSnoopCounters counters{};
  EXPECT_EQ(dhcp_snoop_get_counters(intf, &counters), 0);
  return counters.count[verdict][type];
}

void SnoopingBench::expect_whole() {
  expect_index_at_rest(g_dhcp_snooping.mac_index);
  expect_index_at_rest(g_dhcp_snooping.ip_index);
  EXPECT_EQ(g_dhcp_snooping.intf_busy.load(), 0u);
  const auto& counts = g_dhcp_snooping.mac_index.count;
  EXPECT_EQ(std::accumulate(std::begin(counts), std::end(counts), 0), g_dhcp_snooping.bind_count);
}

}  // namespace bench
