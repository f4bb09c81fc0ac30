/// Init, start and stop of the tasks, and what becomes of every kind of event.
#include "module/module.h"

#include <unistd.h>

#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "dhcp/trap.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

class Module : public ServerBench {
 protected:
  void SetUp() override {
    ServerBench::SetUp();
    ASSERT_EQ(dhcp_module_init(), 0);
  }
  void TearDown() override {
    dhcp_server_start_stop(0);
    dhcp_module_stop();
    EXPECT_EQ(dhcpr_cfg.send_buf, nullptr);
    EXPECT_EQ(device().queues_open(), 0);
    init_DHCPS_cfg();
    ServerBench::TearDown();
  }
  /// Starts and stops that the task service was asked for.
  static std::vector<std::string> starts_and_stops() {
    std::vector<std::string> events = device().task_events();
    std::erase_if(events, [](const std::string& e) { return e.starts_with("notice"); });
    return events;
  }
  static void dispatch(uint32_t type, void* data, uint32_t len = 0) {
    DhcpEvent event{};
    event.p = 1;
    event.i = 2;
    event.type = type;
    event.len = len;
    event.data = data;
    dhcp::module::dispatch(event);
  }
  /// A port-change block as the device posts it.
  static Bytes port_block(const std::vector<uint32_t>& added, const std::vector<uint32_t>& removed) {
    Bytes block;
    for (const auto* ports : {&added, &removed}) {
      for (size_t i = 0; i < 8; ++i) block = wire::operator+(block, wire::be32(i < ports->size() ? (*ports)[i] : 0));
    }
    block.resize(96);
    return block;
  }
  static std::vector<std::string> guard_calls() {
    std::vector<std::string> calls = device().calls();
    std::erase_if(calls, [](const std::string& c) { return !c.starts_with("ipsg"); });
    return calls;
  }
};

TEST_F(Module, AllTasksStartInOrderAndAgainAfterAStop) {
  std::vector<std::string> expected;
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(dhcp_module_start(), 0);
    testing::internal::CaptureStdout();
    dhcp_module_list();
    const std::string list = testing::internal::GetCapturedStdout();
    char first[80];
    snprintf(first, sizeof first, "\t       dhcpr \ttid=%04u, pid=%04d\n\t       dhcpc", dhcp::module::tasks()[0].tid,
             getpid());
    EXPECT_THAT(list, HasSubstr(first));
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 6);
    ASSERT_EQ(dhcp_module_stop(), 0);
    for (const char* what : {"start ", "stop "}) {
      for (const char* name : {"dhcpr", "dhcpc", "snoop", "dhcps", "dhcp6c", "dhcp_probe"}) {
        expected.push_back(what + std::string(name));
      }
    }
    EXPECT_EQ(starts_and_stops(), expected);
    ASSERT_EQ(dhcp_module_init(), 0);
  }
}

TEST_F(Module, TaskThatFailsStopsTheOthersAndTheRestStillStart) {
  device().tasks_that_fail = {"snoop"};
  EXPECT_EQ(dhcp_module_start(), 0);
  EXPECT_THAT(starts_and_stops(), ElementsAre("start dhcpr", "start dhcpc", "start snoop", "stop dhcpr", "stop dhcpc",
                                              "start dhcps", "start dhcp6c", "start dhcp_probe"));
  testing::internal::CaptureStdout();
  dhcp_module_list();
  EXPECT_THAT(testing::internal::GetCapturedStdout(), Not(HasSubstr("snoop")));
}

TEST_F(Module, DispatchTaskWithoutAQueueTellsItsCreator) {
  device().queue_cannot_be_made = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(dhcp_module_start(), 0);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("!!!!!!!!!!!!!!!dhcpr_task_entry exit...\r\n"));
  EXPECT_THAT(device().task_events(), Contains("notice dhcpr -1"));
  EXPECT_EQ(dhcp::module::tasks()[0].tid, 0xffffffff);
}

TEST_F(Module, QueueThatIsClosedEndsTheDispatchTask) {
  testing::internal::CaptureStdout();
  ASSERT_EQ(dhcp_module_start(), 0);
  EXPECT_THAT(device().calls(), Contains("equeue_make_extend(/dhcp_event_queue,256,1,2147483650)"));
  device().close_queue();
  while (device().queues_open() != 0) sched_yield();
  dhcp_module_stop();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "!!!!!!!!!!!!!!!dhcpr_task_entry exit...\r\nroutine_cleanup_dhcp equeue_close \n");
}

TEST_F(Module, FailedInitLeavesNothingBehind) {
  dhcp_module_stop();
  device().sockets_cannot_be_made = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(dhcp_module_init(), -1);
  fake::fail_allocations(1);
  EXPECT_EQ(dhcp_module_init(), -1);
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_THAT(text, HasSubstr("send raw socket create failed!Too many open files\r\n"));
  EXPECT_THAT(text, HasSubstr("dhcpr malloc buf failed!"));
  EXPECT_EQ(device().logged_at("send raw socket create failed!Too many open files\r\n", "dhcpc"), 1);
  EXPECT_EQ(dhcpr_cfg.send_buf, nullptr);
  EXPECT_EQ(dhcpr_cfg.send_sock, -1);
}

TEST_F(Module, SecondStopClosesNobodyElsesDescriptor) {
  const int ours = dhcpr_cfg.send_sock;
  dhcp_module_stop();
  const int others = dup(STDERR_FILENO);
  ASSERT_EQ(others, ours) << "the number is used again";
  dhcp_module_stop();
  EXPECT_EQ(close(others), 0);
}

TEST_F(Module, FrameReachesTheServerOnlyWhileItIsOn) {
  make_pool();
  wire::Received first(discover(mac_number(1)).frame());
  dispatch(1, first.skp());
  expect_silence();
  dhcp_server_start_stop(1);
  dispatch(1, first.skp());
  expect_reply({.type = wire::OFFER});
  EXPECT_EQ(device().logged("DHCP Server receive packet\n", "DHCP Server"), 1);
  EXPECT_EQ(device().released().size(), 2u) << "one release a frame, whatever the services say";
}

TEST_F(Module, FrameThatTheChipRefusesIsShownToNobody) {
  dhcp_server_start_stop(1);
  wire::Received frame(discover(mac_number(1)).frame());
  device().frames_are_unusable = true;
  dispatch(1, frame.skp());
  dispatch(4, frame.skp());
  EXPECT_EQ(device().logged("DHCP Server receive packet\n"), 0);
  EXPECT_THAT(device().released(), ElementsAre(frame.skp(), frame.skp()));
}

TEST_F(Module, EventsPassTheQueueInOrder) {
  make_pool();
  dhcp_server_start_stop(1);
  ASSERT_EQ(dhcp_module_start(), 0);
  wire::Received frames[] = {wire::Received(discover(mac_number(1)).frame()),
                             wire::Received(discover(mac_number(2)).frame())};
  Bytes block(96);
  for (wire::Received& frame : frames) {
    ASSERT_TRUE(device().post({.p = 0, .i = 0, .type = 1, .unused = {}, .len = 0, .data = frame.skp()}));
  }
  device().post({.p = 0, .i = 0, .type = 0x80000002, .unused = {}, .len = 96, .data = block.data()});
  while (device().blocks_handed_back() == 0) sched_yield();
  dhcp_module_stop();
  EXPECT_THAT(device().released(), ElementsAre(frames[0].skp(), frames[1].skp()));
  const auto sent = device().take_sent();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(wire::Reply(sent[0]).yiaddr, ip(192, 168, 1, 10));
  EXPECT_EQ(wire::Reply(sent[1]).yiaddr, ip(192, 168, 1, 11));
}

TEST_F(Module, HostMayConfigureWhileFramesArriveAndLeasesAge) {
  make_pool();
  dhcp_server_start_stop(1);
  ASSERT_EQ(dhcp_module_start(), 0);
  std::vector<wire::Received> frames;
  for (uint32_t n = 0; n < 100; ++n) frames.emplace_back(discover(mac_number(n)).frame());
  char path[128];
  for (wire::Received& frame : frames) {
    device().post({.p = 0, .i = 0, .type = 1, .unused = {}, .len = 0, .data = frame.skp()});
    device().now += 1;
    dhcp_server_set_exclude_ip(ip(192, 168, 1, 12), ip(192, 168, 1, 14));
    dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), mask24, ip(192, 168, 1, 11), ip(192, 168, 1, 15));
    show_dhcp_server_binding(path, 0, 0);
    dhcp_server_clear_binding(0);
    dhcp_server_del_exclude_ip(ip(192, 168, 1, 12), ip(192, 168, 1, 14));
  }
  while (device().released().size() < frames.size()) sched_yield();
  dhcp_server_start_stop(0);  // while the task may be waiting on the socket
  dhcp_module_stop();
  device().take_sent();
}

TEST_F(Module, StrangeEventsAreToldAndForgotten) {
  testing::internal::CaptureStderr();
  dispatch(0, nullptr);
  dispatch(0x80000009, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "p=1, t=0, i=2 \r\nunknown evnet3! -2147483639\r\n");
  EXPECT_EQ(device().logged_at("unknown evnet3! -2147483639\r\n", "dhcpc"), 1);
  EXPECT_TRUE(device().released().empty());
}

TEST_F(Module, PortChangeIsTakenFromBigEndianWords) {
  Bytes block = port_block({0x1000000c, 40, 0, 41}, {3, 0x10000001});
  dispatch(0x80000002, block.data(), 96);
  EXPECT_THAT(guard_calls(), ElementsAre("ipsg_add_port(268435468)", "ipsg_add_port(40)", "ipsg_del_port(3)",
                                         "ipsg_del_port(268435457)", "ipsg_port_change_action(0)"));
  EXPECT_NE(intf_order_list_search(dhcpr_cfg.port_list, 0x1000000c), nullptr);
  EXPECT_EQ(intf_order_list_search(dhcpr_cfg.port_list, 41), nullptr) << "behind the zero that ends the list";
  EXPECT_EQ(intf_order_list_search(dhcpr_cfg.port_list, 3), nullptr);
  EXPECT_EQ(dhcpr_cfg.port_count, 28 + 8 + 2 - 2);
  EXPECT_EQ(device().blocks_handed_back(), 1);
  EXPECT_EQ(device().logged("DHCP Snooping mutex trylock() =========="), 1);
  EXPECT_EQ(device().logged("DHCP Snooping mutex unlock()  **********"), 1);
}

TEST_F(Module, PortChangeIsTakenOnlyWholeAndActedOnOnlyWhenSomethingChanged) {
  Bytes block = port_block({40}, {3});
  dispatch(0x80000002, block.data(), 95);
  EXPECT_THAT(guard_calls(), IsEmpty());
  EXPECT_EQ(device().blocks_handed_back(), 1);
  EXPECT_EQ(device().logged("DHCP Snooping mutex trylock() =========="), 0);
  for (const auto& removed : {std::vector<uint32_t>{5}, {}}) {
    block = port_block({}, removed);
    dispatch(0x80000002, block.data(), 96);
    EXPECT_THAT(guard_calls(), ElementsAre("ipsg_del_port(5)", "ipsg_port_change_action(0)"));
  }
}

TEST_F(Module, TrapRulesAreInstalledOnceAndWholly) {
  EXPECT_EQ(open_dhcp_cpu(), 0);
  EXPECT_EQ(open_dhcp_cpu(), 0);
  const auto rules = device().rules();
  ASSERT_EQ(rules.size(), 2u);
  for (const auto& [rule, port] : {std::pair{1u, 68}, std::pair{0u, 67}}) {
    const adp_fp_entity& entity = rules.at({10, rule});
    ASSERT_EQ(entity.qualifiers, 2);
    uint32_t map[2];
    uint16_t udp_port = 0;
    memcpy(map, entity.qualify[0].data, sizeof map);
    memcpy(&udp_port, entity.qualify[1].data, sizeof udp_port);
    EXPECT_TRUE(entity.qualify[0].code == 13 && entity.qualify[1].code == 28);
    EXPECT_THAT(map, ElementsAre(0xfffffffe, 0xffffffff));
    EXPECT_EQ(udp_port, port);
    EXPECT_TRUE(entity.action[0].code == 30 && entity.action[1].code == 2 && entity.action[1].value == 2);
  }
  EXPECT_EQ(close_dhcp_cpu(), 0);
  EXPECT_EQ(close_dhcp_cpu(), 0);
  EXPECT_TRUE(device().rules().empty());
  device().chip_refuses_rules = true;
  EXPECT_EQ(open_dhcp_cpu(), -1);
  device().chip_refuses_rules = false;
  EXPECT_EQ(open_dhcp_cpu(), 0) << "a refusal is not remembered as installed";
  EXPECT_EQ(device().rules().size(), 2u);
  close_dhcp_cpu();
}

}  // namespace
}  // namespace bench
