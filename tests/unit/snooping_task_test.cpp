/// The "snoop" task, and the whole module while frames, timers, port changes and the host are at it at once.
#include <thread>

#include "dhcp/module.h"
#include "dhcp/relay.h"
#include "platform/task.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::device;
using bench::discover;
using bench::mac_number;
using bench::read_file;
using bench::write_file;

class SnoopingTask : public bench::SnoopingBench {
 protected:
  void SetUp() override {
    SnoopingBench::SetUp();
    ASSERT_EQ(dhcp_module_init(), 0);
  }
  void TearDown() override {
    dhcp_module_stop();
    device().take_sent();
    SnoopingBench::TearDown();
  }
  template <class Done>
  static void wait_until(Done done) {
    while (!done()) std::this_thread::yield();
  }
  static int count() {
    dhcp_snooping_mutex_lock_func();
    const int bindings = get_mac_bind_entry_count();
    dhcp_snooping_mutex_unlock_func();
    return bindings;
  }
  static uint32_t slept_rounds() { return device().slept_ms() / 2000; }
};

TEST_F(SnoopingTask, BringsBindingsBackAgesAndSavesThem) {
  ModuleTaskEntry row{};
  row.name = "snoop";
  row.init = snoop_task_init;
  row.entry = snoop_task_entry;
  exit_dhcp_snooping();
  write_file(table_path(), "02:aa:00:00:00:01,600,10,3,0,3232235786\n02:aa:00:00:00:02,60,10,3,0,3232235787\n");
  ASSERT_EQ(stask_start(&row, 0), 0);
  wait_until([] { return count() == 2; });
  set_dhcp_snoop_writeflash(1, 10);
  const uint32_t so_far = slept_rounds();
  wait_until([&] { return slept_rounds() > so_far + 2; });  // both clocks run
  set_dhcp_snoop_bind(1, mac_number(1).data(), 0, port, 10, 60);
  device().now += 61;
  wait_until([] { return count() == 2; });
  wait_until([] { return read_file(table_path()).find("00:10:20:30:00:01,60,10,3,1,0\n") != std::string::npos; });
  stask_stop(&row);
}

/// Frames of eighty clients and of a server with answers for all of them.
class Traffic {
 public:
  Traffic() {
    for (uint32_t n = 0; n < 80; ++n) {
      add(discover(mac_number(n)), 3 + n % 4);
      wire::Message ack(wire::ACK, mac_number(n));
      add(ack.at(0, {2}).at(16, wire::be32(0xc0a80100 + n)).ip_option(51, 40).from_ip(0xc0a80101), 24);
      if (n % 3 == 0) add(wire::Message(wire::RELEASE, mac_number(n)), 3 + n % 4);
    }
  }
  size_t size() const { return frames_.size(); }
  /// False when no queue is open.
  bool post(size_t n) {
    return device().post({.p = 0, .i = 0, .type = 1, .unused = {}, .len = 0, .data = frames_[n % size()].skp()});
  }

 private:
  void add(const wire::Message& message, uint32_t in_port) { frames_.emplace_back(message.frame(), in_port, 1600); }
  std::vector<wire::Received> frames_;
};

/// What the host may do at any time.
void bother(int n) {
  char path[128];
  uint32_t ports[24] = {30, 31};
  ports[8] = 30;
  switch (n % 12) {
    case 0: set_dhcp_snoop_bind(1, mac_number(200).data(), 0xc0a80102, 5, 10, 60); return;
    case 1: set_dhcp_snoop_bind(0, mac_number(200).data(), 0, 5, 10, 0); return;
    case 2: set_dhcp_snoop_switch(n / 12 % 2); return;
    case 3: dhcp_snooping_binding_clear(n % 17, 0xc0a80103, mac_number(3).data(), 10, 4); return;
    case 4: show_dhcp_snoop_conf(path, 0, 0); return;
    case 5: show_dhcp_snoop_bind(path, 0, 0); return;
    case 6: notice_port_change_to_dhcp(ports); return;
    case 7: dhcp_snooping_snyc_add_to_igsp(); return;
    case 8: set_dhcp_snoop_option82_switch(n / 12 % 2); return;
    case 9: set_dhcp_snoop_option82_circuit_id(n / 12 % 2, 10, 1, "text"); return;
    case 10: set_dhcp_snoop_verify_mac(n / 12 % 2, mac_number(5).data(), 0); return;
    default: arp_find_VlanIp_entry(10, 0xc0a80104, mac_number(4).data(), 3); return;
  }
}

TEST_F(SnoopingTask, HostMayDoAnythingWhileFramesArriveAndBindingsAge) {
  Traffic traffic;
  ASSERT_EQ(dhcp_module_start(), 0);
  set_dhcp_snoop_writeflash(1, 5);
  std::thread host([] {
    for (int n = 0; n < 600; ++n) bother(n);
  });
  size_t posted = 0;
  for (; posted < 3 * traffic.size(); ++posted) {
    ASSERT_TRUE(traffic.post(posted));
    if (posted % 10 == 0) device().now += 3;
    bother(static_cast<int>(posted * 7));
  }
  host.join();
  wait_until([&] { return device().released_count() == posted; });
  dhcp_snooping_mutex_lock_func();
  expect_whole();
  dhcp_snooping_mutex_unlock_func();
}

TEST_F(SnoopingTask, StopsAndStartsUnderLoadAHundredTimes) {
  Traffic traffic;
  std::atomic<bool> over{false};
  std::thread device_thread([&] {
    for (size_t n = 0; !over; ++n) {
      if (!traffic.post(n) || n % 16 == 0) std::this_thread::yield();
    }
  });
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(dhcp_module_start(), 0);
    set_dhcp_snoop_switch(1);
    set_dhcp_snoop_vlan(1, 10);
    set_dhcp_snoop_trust(1, uplink);
    const size_t before = device().released_count();
    wait_until([&] { return device().released_count() > before; });
    ASSERT_EQ(dhcp_module_stop(), 0);
    EXPECT_EQ(get_mac_bind_entry_count(), 0);
    EXPECT_EQ(device().queues_open(), 0);
    ASSERT_EQ(dhcp_module_init(), 0);
  }
  over = true;
  device_thread.join();
}

}  // namespace
