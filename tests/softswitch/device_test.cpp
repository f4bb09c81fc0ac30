/// The small calls: interface lists, texts, temporary files, the neighbours' tables; and what the operator may ask for.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/intf_list.h"
#include "platform/security.h"
#include "platform/sysmng.h"
#include "platform/text.h"
#include "softswitch/alarms.h"
#include "softswitch/control.h"
#include "softswitch/fabric.h"

namespace dhcp::softswitch::test {
namespace {

using testing::ElementsAre;

intf_order_node* node(uint32_t ifindex) {
  auto* const made = static_cast<intf_order_node*>(std::calloc(1, sizeof(intf_order_node)));
  made->ifindex = ifindex;
  return made;
}

std::vector<uint32_t> walk(intf_order_list* list) {
  std::vector<uint32_t> seen;
  auto* const end = reinterpret_cast<intf_order_node*>(list);
  for (auto* at = list->next; at != end; at = at->next) {
    EXPECT_EQ(at->next->prev, at);
    seen.push_back(at->ifindex);
  }
  return seen;
}

TEST(InterfaceList, StaysAscendingAndWithoutDuplicates) {
  intf_order_list* const list = intf_order_list_init();
  for (const uint32_t ifindex : {5u, 0x10000001u, 1u, 63u, 31u, 64u, 32u})
    ASSERT_EQ(intf_order_list_add_node(list, node(ifindex)), 0);
  intf_order_node* const twin = node(31);
  EXPECT_EQ(intf_order_list_add_node(list, twin), -1);
  std::free(twin);
  EXPECT_THAT(walk(list), ElementsAre(1, 5, 31, 32, 63, 64, 0x10000001));

  uint32_t map[2] = {0xa5a5a5a5, 0xa5a5a5a5};
  EXPECT_EQ(intf_order_list_change_to_bit_map(list, map), 5);
  EXPECT_EQ(map[0], 0x80000022u);
  EXPECT_EQ(map[1], 0x80000001u);
  intf_order_list_free_node(list);
}

TEST(Text, AddressesBothWaysAndNothingElse) {
  uint8_t mac[6];
  char text[18];
  ASSERT_EQ(onu_str2mac("00:1A:2b:3c:4D:5e", mac), 0);
  EXPECT_STREQ(onu_mac2str(mac, text), "00:1a:2b:3c:4d:5e");
  for (const char* bad : {"", "00:1a:2b:3c:4d", "00:1a:2b:3c:4d:5e:6f", "00:1a:2b:3c:4d:5g", "00:1a:2b:3c:4d:5e "})
    EXPECT_LT(onu_str2mac(bad, mac), 0) << bad;
  uint8_t ip6[16];
  EXPECT_EQ(strtoip6("2001:db8::1/64", ip6), 0);
  EXPECT_EQ(ip6[15], 1);
  EXPECT_EQ(strtoip6("fe80::2", ip6), 0);
  for (const char* bad : {"", "/64", "2001:db8::g", "10.0.0.1", "1111:2222:3333:4444:5555:6666:7777:8888:9999:aaaa"})
    EXPECT_LT(strtoip6(bad, ip6), 0) << bad;
  EXPECT_STREQ(str_intf_id(3), "Gi3");
  EXPECT_STREQ(str_intf_id(0x10000001), "Ag1");
}

TEST(Alarms, AreToldOnceAMinuteWithAllThatCameMeanwhile) {
  Alarms alarms;
  EXPECT_EQ(alarms.grown("port 1", 0, 100), std::nullopt);
  EXPECT_EQ(alarms.grown("port 1", 3, 101), 3);
  EXPECT_EQ(alarms.grown("port 1", 5, 160), std::nullopt);
  EXPECT_EQ(alarms.grown("port 2", 1, 160), 1) << "each for itself";
  EXPECT_EQ(alarms.grown("port 1", 9, 161), 6);
  EXPECT_EQ(alarms.grown("port 1", 9, 300), std::nullopt);
  EXPECT_EQ(alarms.grown("port 1", 2, 301), 2) << "cleared meanwhile";
}

TEST(TemporaryFile, IsNewEachTime) {
  char one[128], two[128];
  ASSERT_EQ(get_tmp_file_name(0, one, 0, 0), 0);
  ASSERT_EQ(get_tmp_file_name(0, two, 0, 0), 0);
  EXPECT_STRNE(one, two);
  EXPECT_EQ(access(one, W_OK), 0) << "nobody else can take the name";
  unlink(one);
  unlink(two);
}

TEST(Neighbours, TellTheModuleWhatIsConfiguredAndKeepWhatTheyAreTold) {
  fabric().setup(4, {0x02, 0, 0, 0, 0, 1});
  SwitchControl& control = switch_control();
  const ipsg_entry entry{0x0a000001, {2, 0, 0, 0, 0, 9}, 10, 3, 600};
  EXPECT_EQ(add_port_ipsg_entry(&entry), -144);
  EXPECT_EQ(control.hosts(HostList::source_guard).size(), 1u) << "for the day the port is guarded";
  ASSERT_EQ(control.set_source_guard(3, true), std::nullopt);
  EXPECT_EQ(add_port_ipsg_entry(&entry), 0);
  ASSERT_EQ(control.hosts(HostList::source_guard).size(), 1u) << "renewed, not doubled";
  EXPECT_EQ(control.hosts(HostList::source_guard)[0].lease, 600);
  ipsg_del_port(3);
  EXPECT_EQ(control.hosts(HostList::source_guard).size(), 1u) << "the binding outlives its port's device";
  EXPECT_EQ(del_port_ipsg_entry(&entry), 0);
  EXPECT_LT(del_port_ipsg_entry(&entry), 0);
  control.set_source_guard(3, false);

  EXPECT_LT(sync_add_arp_check_entry(entry.mac, entry.ip, 3, 2), 0) << "not a checked port";
  ASSERT_EQ(control.set_arp_check(3, true), std::nullopt);
  EXPECT_EQ(sync_add_arp_check_entry(entry.mac, entry.ip, 3, 2), 0);
  EXPECT_LT(sync_del_arp_check_entry(entry.mac, entry.ip, 4), 0) << "another port's entry";
  EXPECT_EQ(sync_del_arp_check_entry(entry.mac, entry.ip, 3), 0);
  control.set_arp_check(3, false);
  EXPECT_NE(control.set_arp_check(5, true), std::nullopt) << "there are four ports";
}

TEST(Control, RefusalsChangeNothing) {
  fabric().setup(4, {0x02, 0, 0, 0, 0, 1});
  SwitchControl& control = switch_control();
  EXPECT_EQ(control.set_device(1, "nosuch0"), std::nullopt) << "a device may come later";
  EXPECT_NE(control.set_device(2, "nosuch0"), std::nullopt) << "one device, one port";
  EXPECT_NE(control.set_device(2, "eth0.10"), std::nullopt);
  EXPECT_NE(control.set_device(2, "a-name-much-too-long"), std::nullopt);
  EXPECT_NE(control.set_device(5, "x"), std::nullopt);
  EXPECT_EQ(control.port(2).config.device, "");
  EXPECT_FALSE(control.port(1).up);

  EXPECT_EQ(control.set_access_vlan(1, 77), std::nullopt);
  EXPECT_NE(control.set_access_vlan(1, 4095), std::nullopt);
  EXPECT_NE(control.set_trunk(2, {10, 0}), std::nullopt);
  EXPECT_EQ(control.port(2).config.mode, PortMode::access);
  EXPECT_NE(control.delete_vlan(77), std::nullopt) << "a port uses it";
  EXPECT_NE(control.delete_vlan(1), std::nullopt);
  EXPECT_EQ(control.set_trunk(1, {20, 10, 20}), std::nullopt);
  EXPECT_THAT(control.port(1).config.allowed, ElementsAre(10, 20));
  EXPECT_EQ(control.delete_vlan(77), std::nullopt);
  EXPECT_NE(control.delete_vlan(77), std::nullopt);
  EXPECT_THAT(control.vlans(), ElementsAre(1, 10, 20));
  EXPECT_EQ(get_vlan_valid(10, 2), 0);
  EXPECT_LT(get_vlan_valid(77, 2), 0);
  EXPECT_EQ(get_vlan_valid(77, 1), 0);
  EXPECT_NE(control.set_ip(10, 0x0a000001, 0xff000000), std::nullopt) << "no such interface";
  control.set_device(1, "");
}

}  // namespace
}  // namespace dhcp::softswitch::test
