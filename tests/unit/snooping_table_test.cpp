/// The binding table: against a plain one under random operations, its limits, its ageing, the clears, and the lists
/// of servers and of exempt MACs.
#include "base/list.h"
#include "tests/unit/binding_twin.h"
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

/// The table as the twin knows it.
struct Family4 {
  using Entry = MacBindStruct;
  static constexpr bool newcomer_displaces = true;
  static bool indexed(int vlan, uint32_t address) { return vlan != 0 && address != 0; }
  static Entry* find(const Mac& mac, bool create) { return find_MacBindStruct(mac.data(), create ? 1 : 0); }
  static Entry* holder(int vlan, uint32_t address) { return find_VlanIp_entry(vlan, address); }
  static void leave(Entry& entry) { del_VlanIp_table(&entry); }
  static void enter(Entry& entry, uint32_t address) {
    entry.ip = address;
    insert_VlanIp_table(&entry);
  }
  static void erase(Entry& entry) { __del_MacBindStruct(&entry); }
  static void age() { check_mac_bind_valid(); }
  static int count() { return g_dhcp_snooping.bind_count; }
};

TEST_F(SnoopingTable, BehavesAsAPlainTableUnderRandomOperations) { bench::compare_with_twin<Family4>(expect_whole); }

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

TEST_F(SnoopingTable, EachEntryEndsAtItsOwnSecond) {
  learn(mac_number(1));
  add(mac_number(2), address, 10, port, true);
  add(mac_number(3), address + 1)->lease = 30;
  add(mac_number(4), address + 2)->lease = -1;  // an endless lease of the wire
  at(30);
  check_mac_bind_valid();
  EXPECT_NE(find(mac_number(1)), nullptr);
  EXPECT_NE(find(mac_number(3)), nullptr) << "a lease ends after its last second";
  EXPECT_EQ(find(mac_number(4)), nullptr);
  at(31);
  clear_mac_bind_list(-1);
  clear_mac_bind_list(256);
  check_mac_bind_valid();
  EXPECT_EQ(find(mac_number(1)), nullptr);
  EXPECT_EQ(find(mac_number(3)), nullptr);
  at(1000000);
  check_mac_bind_valid();
  EXPECT_NE(find(mac_number(2)), nullptr);
}

TEST_F(SnoopingTable, AgeingComesEveryHalfOfTheShortestLease) {
  learn(client);
  timer_dhcp_snoop();
  at(1000);
  timer_dhcp_snoop();
  EXPECT_NE(find(client), nullptr) << "nothing is aged before the first lease";
  g_dhcp_snooping.min_lease = 101;
  at(1050);
  timer_dhcp_snoop();
  EXPECT_NE(find(client), nullptr);
  at(1051);
  timer_dhcp_snoop();
  EXPECT_EQ(find(client), nullptr);
  // A refused call does not put the next one off.
  learn(client);
  at(1100);
  timer_dhcp_snoop();
  at(1102);
  timer_dhcp_snoop();
  EXPECT_EQ(find(client), nullptr);
  // A new start begins with the clock stopped.
  init_dhcp_snooping();
  learn(client);
  g_dhcp_snooping.min_lease = 10;
  at(9000);
  timer_dhcp_snoop();
  EXPECT_EQ(get_mac_bind_entry_count(), 1);
  const int classes[] = {get_timer_dhcp_snoop_action_type(100), get_timer_dhcp_snoop_action_type(101),
                         get_timer_dhcp_snoop_action_type(1024), get_timer_dhcp_snoop_action_type(1025)};
  EXPECT_THAT(classes, ElementsAre(0, 100, 100, 1024));
}

/// What a clear is called with, against one binding; another client's binding must outlive all but the first.
struct Keys {
  uint32_t ip;
  Mac mac;
  int vlan;
  uint32_t intf;
};

TEST_F(SnoopingTable, EachClearTakesExactlyWhatMatchesItsKeys) {
  using K = const Keys&;
  const struct {
    const char* text;
    int (*member)(K);
  } rows[] = {
      {"all dhcp snooping binding", [](K) { return dhcp_snoop_binds_clear_all(); }},
      {" by ip", [](K k) { return dhcp_snoop_binds_clear_ip(k.ip); }},
      {" by ip mac", [](K k) { return dhcp_snoop_binds_clear_ip_mac(k.ip, k.mac.data()); }},
      {" by ip mac intf", [](K k) { return dhcp_snoop_binds_clear_ip_mac_intf(k.ip, k.mac.data(), k.intf); }},
      {" by ip mac vlan", [](K k) { return dhcp_snoop_binds_clear_ip_mac_vlan(k.ip, k.mac.data(), k.vlan); }},
      {" by ip mac vlan intf",
       [](K k) { return dhcp_snoop_binds_clear_ip_mac_vlan_intf(k.ip, k.mac.data(), k.vlan, k.intf); }},
      {" by ip intf", [](K k) { return dhcp_snoop_binds_clear_ip_intf(k.ip, k.intf); }},
      {" by ip vlan", [](K k) { return dhcp_snoop_binds_clear_ip_vlan(k.ip, k.vlan); }},
      {" by ip vlan intf", [](K k) { return dhcp_snoop_binds_clear_ip_vlan_intf(k.ip, k.vlan, k.intf); }},
      {" by mac", [](K k) { return dhcp_snoop_binds_clear_mac(k.mac.data()); }},
      {" by mac intf", [](K k) { return dhcp_snoop_binds_clear_mac_intf(k.mac.data(), k.intf); }},
      {" by mac vlan", [](K k) { return dhcp_snoop_binds_clear_mac_vlan(k.mac.data(), k.vlan); }},
      {" by mac vlan intf", [](K k) { return dhcp_snoop_binds_clear_mac_vlan_intf(k.mac.data(), k.vlan, k.intf); }},
      {nullptr, [](K k) { return dhcp_snoop_binds_clear_intf(k.intf); }},
      {nullptr, [](K k) { return dhcp_snoop_binds_clear_dynamic_intf(k.intf); }},
      {nullptr, [](K k) { return dhcp_snoop_binds_clear_vlan(k.vlan); }},
      {" by vlan intf", [](K k) { return dhcp_snoop_binds_clear_vlan_intf(k.vlan, k.intf); }},
  };
  const Mac same_bucket{0x02, 0xaa, 0, 0, 0x01, 0};
  const Keys right{address, client, 10, port};
  const Keys calls[] = {right,
                        {address + 1, client, 10, port},
                        {address, same_bucket, 10, port},
                        {address, client, 20, port},
                        {address, client, 10, other_port},
                        right};
  for (int type = 0; type < 17; ++type) {
    for (int call = 0; call < 12; ++call) {
      const Keys& keys = calls[call % 6];
      const std::string text = rows[type].text == nullptr ? "" : rows[type].text;
      SCOPED_TRACE("type " + std::to_string(type) + ", call " + std::to_string(call));
      add(neighbour, ip(10, 0, 0, 9), 30, 9);
      add(client, address, 10, port, call % 6 == 5);
      const size_t lines = bench::device().log().size();
      if (call < 6) {
        EXPECT_EQ(dhcp_snooping_binding_clear(type, keys.ip, keys.mac.data(), keys.vlan, keys.intf), 0);
      } else {
        EXPECT_EQ(rows[type].member(keys), 0);
      }
      EXPECT_EQ(find(client) == nullptr, bench::cleared[type][call % 6] == '+');
      EXPECT_EQ(find(neighbour) == nullptr, type == 0);
      int told = 0;
      const auto log = bench::device().log();
      for (size_t i = lines; i < log.size(); ++i) told += log[i].name == "DHCPS_clear" && log[i].text.ends_with(text);
      EXPECT_EQ(told, rows[type].text == nullptr ? 0 : 1);
    }
  }
  EXPECT_EQ(bench::device().logged_at("clear all dhcp snooping binding", "DHCPS_clear"), 12);
  EXPECT_EQ(bench::device().logged_at("clear dhcp snooping binding by ip mac vlan intf", "DHCPS_clear"), 12);
}

TEST_F(SnoopingTable, ClearsReachLearningEntriesByAddressZeroAndUnknownTypesNothing) {
  add(neighbour, address);
  learn(client);
  for (const int type : {17, 1000, -1}) EXPECT_EQ(dhcp_snooping_binding_clear(type, 0, client.data(), 10, port), 0);
  EXPECT_EQ(get_mac_bind_entry_count(), 2);
  bench::device().take_neighbour_calls();
  dhcp_snooping_binding_clear(1, 0, nullptr, 0, 0);
  EXPECT_EQ(find(client), nullptr);
  EXPECT_THAT(bench::device().take_neighbour_calls(), IsEmpty());
  dhcp_snooping_binding_clear(15, 0, nullptr, 10, 0);
  EXPECT_EQ(get_mac_bind_entry_count(), 0);
  EXPECT_THAT(bench::device().take_neighbour_calls(),
              ElementsAre("guard- 02:aa:00:00:00:02 c0a8010a 3 10 600", "arp- 02:aa:00:00:00:02 c0a8010a 3"));
}

TEST_F(SnoopingTable, ServersAreBelievedFromTheFirstNamedOneOn) {
  EXPECT_EQ(check_serverip_valid(1), 1);
  for (uint32_t n = 1; n <= 10; ++n) EXPECT_EQ(set_dhcp_snoop_serverip(1, n), 0);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 11), -1);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 10), 0) << "a known one is no eleventh";
  EXPECT_EQ(set_dhcp_snoop_serverip(0, 99), -1);
  EXPECT_EQ(set_dhcp_snoop_serverip(0, 1), 0);
  EXPECT_EQ(set_dhcp_snoop_serverip(1, 0xc0a80101), 0);
  std::vector<uint32_t> order;
  for (const DhcpServerInfo* at = g_dhcp_snooping.server_list; at != nullptr; at = at->next) order.push_back(at->ip);
  EXPECT_THAT(order, ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 0xc0a80101));
  EXPECT_EQ(check_serverip_valid(1), 0);
  EXPECT_EQ(check_serverip_valid(0xc0a80101), 1);
  EXPECT_EQ(bench::device().logged_at("add the serverip:0xc0a80101", "DHCPS_serverip"), 1);
  EXPECT_EQ(bench::device().logged_at("del the serverip:0x1", "DHCPS_serverip"), 1);
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
