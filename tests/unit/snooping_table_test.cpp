/// What the IPv4 binding table alone does: its limit at the file, addresses that change hands, the lists of servers and
/// of exempt MACs.
#include "tests/unit/snooping_bench.h"

namespace {

using bench::ip;
using bench::Mac;
using bench::mac_number;
using bench::write_file;
using testing::ElementsAre;
using testing::IsEmpty;

class SnoopingTable : public bench::SnoopingBench {
 protected:
  /// A bound entry as a configuration or an ACK leaves it.
  static MacBindStruct* add(const Mac& mac, uint32_t address, int vlan = 10, uint32_t intf = port, bool fixed = false) {
    MacBindStruct* binding = find_MacBindStruct(mac.data(), 1);
    if (binding == nullptr) return nullptr;
    del_VlanIp_table(binding);
    binding->state = 1;
    binding->ip = address;
    binding->vlan = binding->new_vlan = vlan;
    binding->intf = binding->new_intf = intf;
    binding->is_static = fixed ? 1 : 0;
    binding->lease = 600;
    binding->time = static_cast<int32_t>(bench::device().now.load());
    insert_VlanIp_table(binding);
    return binding;
  }
  static void learn(const Mac& mac) { receive(bench::discover(mac), port); }
};

TEST_F(SnoopingTable, ClientsBeyondTheLimitAreTurnedAwayAndTheFileBringsOneMore) {
  for (uint32_t n = 0; n < 250; ++n) ASSERT_NE(add(mac_number(n), ip(192, 168, 1, 0) + n + 1), nullptr);
  EXPECT_EQ(receive(bench::discover(client), port).sent.size(), 0u);
  EXPECT_EQ(find(client), nullptr);
  EXPECT_EQ(met(DHCP_SNOOP_TABLE_FULL, port, wire::DISCOVER), 1u);
  EXPECT_NE(find_MacBindStruct(mac_number(7).data(), 1), nullptr) << "a known client still gets in";
  del_VlanIp_table(find(mac_number(0)));
  insert_VlanIp_table(find(mac_number(0)));
  EXPECT_NE(find_VlanIp_entry(10, ip(192, 168, 1, 1)), nullptr) << "250 bindings still enter the address index";
  // The file knows no limit, but the address index closes at 251.
  write_file(table_path(), "02:aa:00:00:00:01,600,10,3,0,3232235786\n02:aa:00:00:00:02,600,10,3,0,167772161\n");
  read_dhcp_snoop_from_flash();
  EXPECT_EQ(get_mac_bind_entry_count(), 252);
  EXPECT_EQ(find_VlanIp_entry(10, ip(10, 0, 0, 1)), nullptr);
  EXPECT_EQ(bench::device().logged("Current count[251] had reached the max bind list count\n", "DHCPS_table"), 1);
  EXPECT_EQ(bench::device().logged("Current count[252] had reached the max bind list count\n", "DHCPS_table"), 1);
  // Those that stayed outside leave the table without harm.
  for (const Mac& mac : {client, neighbour}) {
    del_VlanIp_table(find(mac));
    EXPECT_EQ(del_MacBindStruct(mac.data(), other_port), -1);
    EXPECT_EQ(del_MacBindStruct(mac.data(), port), 0);
  }
}

TEST_F(SnoopingTable, AddressTakenOverRemovesTheOlderBindingWhole) {
  MacBindStruct* first = add(client, address);
  insert_VlanIp_table(first);
  EXPECT_EQ(bench::device().logged("Find the same mac and the same interface ip bind entry\n", "DHCPS_table"), 1);
  EXPECT_EQ(get_mac_bind_entry_count(), 1);
  add(mac_number(9), address, 20);
  EXPECT_EQ(get_mac_bind_entry_count(), 2) << "the same address in another VLAN is another's";
  add(neighbour, address);
  EXPECT_EQ(find(client), nullptr);
  EXPECT_EQ(find_VlanIp_entry(10, address), find(neighbour));
  EXPECT_EQ(bench::device().logged("Delete the mac bind entry\n", "DHCPS_table"), 1);
  const int bucket = static_cast<int>((10 + address) % 256);
  EXPECT_EQ(bench::device().logged("This hash[" + std::to_string(bucket) + "] have list entry count[1]\n"), 3);
  EXPECT_EQ(arp_find_VlanIp_entry(10, address, neighbour.data(), port), find(neighbour));
  EXPECT_EQ(arp_find_VlanIp_entry(10, address, neighbour.data(), other_port), nullptr);
  EXPECT_EQ(arp_find_VlanIp_entry(10, address, client.data(), port), nullptr);
}

TEST_F(SnoopingTable, NoMemoryIsLikeAFullTable) {
  fake::fail_allocations(1);
  EXPECT_EQ(find_MacBindStruct(client.data(), 1), nullptr);
  fake::fail_allocations(1);
  EXPECT_EQ(find_MacVerifyStruct(client.data(), 1), nullptr);
  fake::fail_allocations(1);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 7), -1);
  EXPECT_EQ(get_mac_bind_entry_count() + g_dhcp_snooping.verify_count + g_dhcp_snooping.server_count, 0);
}

/// The type numbers go through the same grid for both families; these names are IPv4's alone.
TEST_F(SnoopingTable, EachNamedClearTakesExactlyWhatMatchesItsKeys) {
  struct Keys {
    uint32_t ip;
    Mac mac;
    int vlan;
    uint32_t intf;
  };
  using K = const Keys&;
  int (*const members[])(K) = {
      [](K) { return dhcp_snoop_binds_clear_all(); },
      [](K k) { return dhcp_snoop_binds_clear_ip(k.ip); },
      [](K k) { return dhcp_snoop_binds_clear_ip_mac(k.ip, k.mac.data()); },
      [](K k) { return dhcp_snoop_binds_clear_ip_mac_intf(k.ip, k.mac.data(), k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_ip_mac_vlan(k.ip, k.mac.data(), k.vlan); },
      [](K k) { return dhcp_snoop_binds_clear_ip_mac_vlan_intf(k.ip, k.mac.data(), k.vlan, k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_ip_intf(k.ip, k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_ip_vlan(k.ip, k.vlan); },
      [](K k) { return dhcp_snoop_binds_clear_ip_vlan_intf(k.ip, k.vlan, k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_mac(k.mac.data()); },
      [](K k) { return dhcp_snoop_binds_clear_mac_intf(k.mac.data(), k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_mac_vlan(k.mac.data(), k.vlan); },
      [](K k) { return dhcp_snoop_binds_clear_mac_vlan_intf(k.mac.data(), k.vlan, k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_intf(k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_dynamic_intf(k.intf); },
      [](K k) { return dhcp_snoop_binds_clear_vlan(k.vlan); },
      [](K k) { return dhcp_snoop_binds_clear_vlan_intf(k.vlan, k.intf); },
  };
  const Keys right{address, client, 10, port};
  const Keys calls[] = {right,
                        {address + 1, client, 10, port},
                        {address, neighbour, 10, port},
                        {address, client, 20, port},
                        {address, client, 10, other_port},
                        right};
  for (size_t type = 0; type < std::size(members); ++type) {
    for (size_t call = 0; call < std::size(calls); ++call) {
      add(client, address, 10, port, call == 5);
      EXPECT_EQ(members[type](calls[call]), 0);
      EXPECT_EQ(find(client) == nullptr, bench::cleared[type][call] == '+') << "type " << type << ", call " << call;
    }
  }
  EXPECT_EQ(bench::device().logged_at("clear dhcp snooping binding by ip mac vlan intf", "DHCPS_clear"), 6);
}

TEST_F(SnoopingTable, ServersAreBelievedFromTheFirstNamedOneOn) {
  EXPECT_EQ(check_serverip_valid(1), 1);
  for (uint32_t n = 1; n <= 10; ++n) EXPECT_EQ(set_dhcp_snoop_serverip(1, n), 0);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 11), -1);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 10), 0) << "a known one is no eleventh";
  EXPECT_EQ(set_dhcp_snoop_serverip(0, 99), -1);
  EXPECT_EQ(set_dhcp_snoop_serverip(0, 1), 0);
  EXPECT_EQ(check_serverip_valid(1), 0);
  EXPECT_EQ(check_serverip_valid(10), 1);
}

TEST_F(SnoopingTable, ExemptMacFollowsItsBindingAndLeavesNoDanglingLink) {
  learn(client);
  EXPECT_EQ(set_dhcp_snoop_verify_mac(1, client.data(), 0), 0);
  ASSERT_NE(find(client)->verify, nullptr) << "found again, the binding knows its exemption";
  EXPECT_EQ(set_dhcp_snoop_verify_mac(0, client.data(), 0), 0);
  EXPECT_EQ(find(client)->verify, nullptr);
  EXPECT_EQ(set_dhcp_snoop_verify_mac(0, client.data(), 0), -1);
  for (uint32_t n = 0; n < 9; ++n) set_dhcp_snoop_verify_mac(1, mac_number(n).data(), 0);
  EXPECT_EQ(set_dhcp_snoop_verify_mac(1, client.data(), 1), 0);
  EXPECT_EQ(set_dhcp_snoop_verify_mac(1, neighbour.data(), 1), -1);
  EXPECT_EQ(find(client)->verify->mode, 1);
  dhcp_snoop_binds_clear_mac(client.data());
  EXPECT_EQ(find_MacVerifyStruct(client.data(), 0), nullptr) << "the exemption goes with the binding";
  EXPECT_EQ(g_dhcp_snooping.verify_count, 9);
}

}  // namespace
