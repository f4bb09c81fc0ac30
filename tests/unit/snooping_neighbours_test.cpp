/// What IP source guard, the ARP module and IGMP snooping are told of bindings.
#include <cstring>

#include "platform/security.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::device;
using testing::ElementsAre;
using testing::IsEmpty;
using Calls = std::vector<std::string>;

class SnoopingNeighbours : public bench::SnoopingBench {
 protected:
  void TearDown() override {
    device().source_guard_answer = device().arp_check_answer = device().fixed_arp_answer = 0;
    SnoopingBench::TearDown();
  }
  static void set_arp(bool everywhere, bool by_port, uint32_t fallback) {
    arpr_cfg[1] = everywhere ? 1 : 0;
    arpr_cfg[2125] = by_port ? 1 : 0;
    memcpy(arpr_cfg + 2104, &fallback, sizeof fallback);
  }
};

TEST_F(SnoopingNeighbours, EnteringBindingIsToldAsArpCheckingIsSetUp) {
  const std::string who = " 02:aa:00:00:00:01 c0a8010a 3";
  const std::string guard = "guard+" + who + " 10 600", check = "check+" + who + " 2", fixed = "arp+" + who + " 2 600";
  const struct {
    const char* what;
    bool everywhere, by_port;
    uint32_t fallback;
    int check_answer;
    bool port_checked;
    Calls expected;
  } rows[] = {
      {"off", false, false, 1, 0, true, {guard}},
      {"everywhere", true, false, 1, 0, true, {guard, check}},
      {"everywhere, whatever the port says", true, false, 0, 0, false, {guard, check}},
      {"everywhere, refused", true, false, 0, -1, true, {guard, check}},
      {"everywhere, refused, fallback", true, false, 1, -1, true, {guard, check, fixed}},
      {"fallback is the number one", true, false, 0x01000000, -1, true, {guard, check}},
      {"by port", false, true, 1, 0, true, {guard, check}},
      {"by port, refused, fallback", false, true, 1, -5, true, {guard, check, fixed}},
      {"by port, port off: no way round", true, true, 1, -1, false, {guard}},
  };
  for (const int guard_answer : {0, -144, -1}) {
    for (const auto& row : rows) {
      SCOPED_TRACE(row.what);
      set_arp(row.everywhere, row.by_port, row.fallback);
      device().source_guard_answer = guard_answer;
      device().arp_check_answer = row.check_answer;
      device().ports_without_arp_check = row.port_checked ? std::set<uint32_t>{} : std::set<uint32_t>{port};
      bind(client);
      EXPECT_EQ(device().take_neighbour_calls(), row.expected);
      __del_MacBindStruct(find(client));
      EXPECT_THAT(device().take_neighbour_calls(), ElementsAre("guard-" + who + " 10 600", "arp-" + who))
          << "the checked entry stays";
    }
  }
  EXPECT_EQ(device().logged_at("Warning:IP source guard is not set !\n", "dhcpc"), 9);
}

TEST_F(SnoopingNeighbours, AnswersAndComplaintsReachTheCaller) {
  MacBindStruct& binding = bind(client);
  int (*const calls[])(MacBindStruct*) = {sync_add_ipsg_entry, sync_del_ipsg_entry, sync_add_arp_entry,
                                          sync_del_arp_entry};
  for (const auto call : calls) EXPECT_EQ(call(nullptr), -1);
  device().source_guard_answer = device().fixed_arp_answer = 5;
  for (const auto call : calls) EXPECT_EQ(call(&binding), 5);
  device().source_guard_answer = device().fixed_arp_answer = -7;
  for (const auto call : calls) EXPECT_EQ(call(&binding), -1);
}

TEST_F(SnoopingNeighbours, WholeTableIsToldOfBoundEntriesOnly) {
  bind(client);
  bind(neighbour, address + 1, other_port, 20, 900);
  receive(bench::discover(bench::mac_number(1)), port);
  const std::string one = " 02:aa:00:00:00:01 c0a8010a 3", two = " 02:aa:00:00:00:02 c0a8010b 4";
  device().take_neighbour_calls();
  const auto told = [](int result) {
    EXPECT_EQ(result, 0);
    return device().take_neighbour_calls();
  };
  EXPECT_THAT(told(dhcp_snooping_snyc_adddel_arp_check_by_mac_node(7)),
              ElementsAre("arp+" + one + " 2 600", "arp+" + two + " 2 900"));
  EXPECT_THAT(told(dhcp_snooping_snyc_adddel_arp_check_by_mac_node(0)), ElementsAre("arp-" + one, "arp-" + two));
  EXPECT_THAT(told(dhcp_snooping_snyc_add_to_arp_check()), ElementsAre("check+" + one + " 2", "check+" + two + " 2"));
  EXPECT_THAT(told(dhcp_snooping_snyc_add_to_igsp()),
              ElementsAre("igmp+" + one + " 10 600", "igmp+" + two + " 20 900"));
  EXPECT_THAT(told(dhcp_snooping_snyc_del_arp_check(-1)), ElementsAre("check-" + one, "check-" + two));
  EXPECT_THAT(told(dhcp_snooping_snyc_del_arp_check(other_port)), ElementsAre("check-" + two));
  EXPECT_THAT(told(dhcp_snooping_snyc_del_arp_check(9)), IsEmpty());
  // A stop says nothing: the neighbours keep their entries over a restart.
  exit_dhcp_snooping();
  EXPECT_THAT(device().take_neighbour_calls(), IsEmpty());
}

}  // namespace
