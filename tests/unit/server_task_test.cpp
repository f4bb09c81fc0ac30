/// The server's task, its ageing and its socket.
#include <sys/socket.h>
#include <unistd.h>

#include <functional>

#include "dhcp/server6.h"
#include "platform/task.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

class ServerTask : public ServerBench {
 protected:
  void SetUp() override {
    ServerBench::SetUp();
    make_pool();
    row_.name = "dhcps";
    row_.init = dhcps_task_init;
    row_.entry = dhcps_task_entry;
  }
  void run_until(const std::function<bool()>& done) {
    ASSERT_EQ(stask_start(&row_, 0), 0);
    while (!done()) sched_yield();
    stask_stop(&row_);
  }
  static int conflicts() {
    dhcp_server_mutex_lock_func();
    const int count = dhcps_cfg.conflicts.count;
    dhcp_server_mutex_unlock_func();
    return count;
  }
  ModuleTaskEntry row_{};
};

TEST_F(ServerTask, OfferLivesFiveSeconds) {
  offered(discover(mac_number(1)));
  at(4);
  age();
  EXPECT_THAT(leases(), SizeIs(1));
  at(5);
  age();
  EXPECT_THAT(leases(), IsEmpty());
  receive(request(mac_number(1), ip(192, 168, 1, 10)));
  expect_reply({.type = wire::NAK});
}

TEST_F(ServerTask, LeaseEndsAtItsTimeAndAnInfiniteOneNever) {
  dhcp_server_set_pool_lease(1, 100);
  lease(mac_number(1));
  dhcp_server_set_pool_lease(1, 0xffffffff);
  lease(mac_number(2));
  dhcp_server_set_pool_lease(1, 0xfffffff0);
  lease(mac_number(3));
  EXPECT_EQ(leases()[1].expire, 0xffffffffu);
  EXPECT_EQ(leases()[0].expire, 0xfffffffeu) << "a long lease does not wrap into the past";
  at(99);
  age();
  EXPECT_THAT(leases(), SizeIs(3));
  at(100);
  age();
  EXPECT_THAT(leases(), SizeIs(2));
}

TEST_F(ServerTask, ConflictsAreManyButNotEndless) {
  for (uint32_t n = 0; n <= DHCPS_MAX_CONFLICTS; ++n) dhcp_add_conflict_ip(n + 1);
  EXPECT_EQ(dhcps_cfg.conflicts.count, DHCPS_MAX_CONFLICTS);
  EXPECT_EQ(dhcp_get_conflict_ip(&dhcps_cfg.conflicts.head, 1), nullptr) << "the oldest has gone";
  EXPECT_NE(dhcp_get_conflict_ip(&dhcps_cfg.conflicts.head, 2), nullptr);
}

TEST_F(ServerTask, ConflictLastsADayFromItsLastReport) {
  dhcp_add_conflict_ip(ip(192, 168, 1, 10));
  at(1000);
  dhcp_add_conflict_ip(ip(192, 168, 1, 10));
  EXPECT_EQ(dhcps_cfg.conflicts.count, 1);
  at(1000 + 86400);
  age();
  EXPECT_EQ(dhcps_cfg.conflicts.count, 1);
  at(1000 + 86401);
  age();
  EXPECT_EQ(dhcps_cfg.conflicts.count, 0);
}

TEST_F(ServerTask, BindingOfAVanishedPoolStays) {
  lease(mac_number(1));
  dhcp_get_pool_by_id(1)->pool_id = 7;
  at(10 * 86400);
  age();
  EXPECT_THAT(leases(), SizeIs(1));
  dhcp_get_pool_by_id(7)->pool_id = 1;
}

TEST_F(ServerTask, AgesWithTheServerOffAndAgainAfterAStop) {
  for (int round = 0; round < 2; ++round) {
    dhcp_add_conflict_ip(ip(192, 168, 1, 11));
    device().now += 86401;
    run_until([] { return conflicts() == 0; });
  }
  EXPECT_EQ(device().slept_ms() % 1000, 0);
  EXPECT_GE(device().logged("DHCP Server mutex try to lock() ++++++++++++++++", "dhcpc"), 2);
}

TEST_F(ServerTask, DatagramOnTheSocketIsThrownAway) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
  dhcps_cfg.sock = pair[0];
  ASSERT_EQ(send(pair[1], "x", 1, 0), 1);
  char byte = 0;
  run_until([&] { return recv(pair[0], &byte, 1, MSG_PEEK | MSG_DONTWAIT) == -1; });
  EXPECT_THAT(device().take_sent(), IsEmpty());
  dhcp_server_close_socket();
  close(pair[1]);
}

TEST_F(ServerTask, BusyPortIsToldAndTheSocketKept) {
  device().bind_error = EADDRINUSE;
  testing::internal::CaptureStderr();
  EXPECT_EQ(dhcp_server_open_socket(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "dhcp server socket bind error : Address already in use\n");
  EXPECT_EQ(device().logged_at("dhcp server socket bind error : Address already in use\n", "dhcpc"), 1);
  EXPECT_THAT(device().calls(), Contains("bind(67)"));
  EXPECT_GE(dhcps_cfg.sock.load(), 0);
  dhcp_server_close_socket();
  EXPECT_EQ(dhcps_cfg.sock.load(), -1);
  dhcp_server_close_socket();
}

TEST_F(ServerTask, AgesTheDhcp6ServersLeasesWhileEitherServerIsOn) {
  const auto conflicts6 = [] { return dhcp6_server_get_conflicts(nullptr, 0); };
  const auto rounds = [](int count) {
    const int before = device().logged("Task entry end   process!~\n");
    return [=] { return device().logged("Task entry end   process!~\n") >= before + count; };
  };
  const uint8_t ip6[16] = {0x20, 1};
  init_DHCP6S_cfg();
  dhcp6_add_conflict_ip(ip6);
  at(86401);
  run_until(rounds(2));
  EXPECT_EQ(conflicts6(), 1) << "both are off";
  dhcp6_server_start_stop(1);
  run_until([&] { return conflicts6() == 0; });
  dhcp6_server_start_stop(0);
  dhcp6_add_conflict_ip(ip6);
  at(2 * 86402);
  dhcp_server_start_stop(1);
  run_until([&] { return conflicts6() == 0; });
  dhcp_server_start_stop(0);
}

}  // namespace
}  // namespace bench
