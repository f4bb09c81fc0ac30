/// The counts of all services as one list, and those of frames that no service was asked for.
#include "dhcp/counters.h"

#include <thread>

#include "base/frame_counts.h"
#include "dhcp/relay.h"
#include "dhcp/snooping.h"
#include "module/module.h"
#include "tests/unit/snooping_bench.h"

namespace bench {
namespace {

using dhcp::base::count_row;
using dhcp::base::FrameCounts;

/// "service interface message: reason count", a line each.
std::string counters(int room = 100) {
  std::vector<DhcpCounter> all(static_cast<size_t>(room));
  const int found = dhcp_get_counters(all.data(), room);
  all.resize(static_cast<size_t>(std::min(found, room)));
  std::string text;
  for (const DhcpCounter& c : all) {
    char line[128];
    snprintf(line, sizeof line, "%s %x %s: %s %u\n", dhcp_service_name(c.service), c.intf,
             dhcp_message_type_name(c.service, c.type), dhcp_reason_name(c.service, c.reason), c.count);
    text += line;
  }
  return text;
}

class Counters : public SnoopingBench {
 protected:
  void SetUp() override {
    SnoopingBench::SetUp();
    dhcp_clear_counters();
  }
  /// Through the dispatcher.
  static void dispatch(const Bytes& frame, uint32_t in_port = port) {
    wire::Received received(frame, in_port, 1600);
    DhcpEvent event{.p = 0, .i = 0, .type = dhcp::module::event_ipv4_frame, .unused = {}, .len = 0, .data = nullptr};
    event.data = received.skp();
    dhcp::module::dispatch(event);
    device().take_sent();
  }
};

TEST_F(Counters, EveryFrameIsCountedWhereItsWayEnds) {
  const Bytes whole = discover(client).frame();
  dispatch(whole);
  dispatch(whole, group);
  dispatch(whole, 0x10000011);
  dispatch(Bytes(whole.begin(), whole.begin() + 100));
  device().frames_are_unusable = true;
  dispatch(whole);
  device().frames_are_unusable = false;
  dispatch(discover(client).unicast_to(fake::Device::default_mac, server_ip).frame());
  set_dhcp_snoop_switch(0);
  dispatch(whole);
  const std::string all =
      "dispatch 3 other: unusable 1\n"
      "dispatch 3 other: no service 1\n"
      "dispatch 3 other: for the device 1\n"
      "snooping 0 other: unknown port 1\n"
      "snooping 3 DISCOVER: forwarded 1\n"
      "snooping 3 other: malformed 1\n"
      "snooping 10000002 DISCOVER: forwarded 1\n";
  EXPECT_EQ(counters(), all);
  EXPECT_EQ(dhcp_get_counters(nullptr, 0), 7);
  EXPECT_EQ(counters(2), all.substr(0, all.find("dispatch 3 other: for"))) << "no more than there is room for";
  dhcp_clear_counters();
  EXPECT_EQ(counters(), "");
  dhcpr_cfg.status = DHCPR_ON;
  dispatch(whole);
  EXPECT_EQ(counters(), "relay 3 other: request not sent 1\n");
}

TEST_F(Counters, WhatSnoopingPassesOnIsCountedByTheNextServiceToo) {
  dhcpr_cfg.status = DHCPR_ON;
  dispatch(discover(client).frame());
  dispatch(from_server(wire::OFFER, client).frame(), uplink);
  EXPECT_EQ(counters(),
            "snooping 3 DISCOVER: passed to relay or server 1\n"
            "snooping 18 OFFER: passed to relay or server 1\n"
            "relay 3 other: request not sent 1\n"
            "relay 18 OFFER: reply passed on 1\n");
}

TEST_F(Counters, NumbersOutsideTheListsHaveNames) {
  for (const int number : {-1, 99}) {
    EXPECT_STREQ(dhcp_service_name(number), "unknown");
    EXPECT_STREQ(dhcp_message_type_name(number, 1), "other");
    for (int service = 0; service < DHCP_SERVICES; ++service) {
      EXPECT_STREQ(dhcp_reason_name(service, number), "unknown") << service;
      EXPECT_STREQ(dhcp_message_type_name(service, number), "other") << service;
    }
  }
}

TEST(FrameCountTable, EveryListedInterfaceHasARowAndTheOthersShareOne) {
  std::map<size_t, uint32_t> rows;
  for (uint32_t intf = 0; intf < 64; ++intf) EXPECT_TRUE(rows.emplace(count_row(intf), intf).second) << intf;
  for (uint32_t n = 1; n <= 16; ++n) EXPECT_TRUE(rows.emplace(count_row(0x10000000 + n), 0x10000000 + n).second) << n;
  EXPECT_EQ(rows.rbegin()->first, dhcp::base::count_rows - 1);
  for (const auto& [row, intf] : rows) EXPECT_EQ(dhcp::base::interface_of_row(row), intf);
  for (const uint32_t intf : {64u, 0x10000000u, 0x10000011u, 0x20000001u, 0xffffffffu}) EXPECT_EQ(count_row(intf), 0u);
}

/// Who counts takes no lock and must not be disturbed: nothing is counted twice, nothing comes back that was cleared.
TEST(FrameCountTable, ClearingWhileAnotherThreadCountsLosesNothing) {
  static FrameCounts<DHCP_SERVICE_SERVER, 2, 9> counts;
  constexpr uint32_t frames = 200000;
  std::atomic<bool> done{false};
  std::thread counting([&] {
    for (uint32_t n = 0; n < frames; ++n) counts.count(3, 1, n % 300);
    done = true;
  });
  uint32_t before = 0;
  while (!done) {
    const uint32_t sum = counts.view().sum(1);
    EXPECT_LE(before, sum);
    EXPECT_LE(sum, frames);
    before = sum;
    if (sum > frames / 2) {
      counts.view().clear();
      before = 0;
      EXPECT_LE(counts.view().sum(1), frames / 2);
    }
  }
  counting.join();
  counts.view().clear();
  EXPECT_EQ(counts.view().sum(1), 0u);
  counts.count(3, 1, 8);
  counts.count(4, 1, 9);
  EXPECT_EQ(counts.view().at(count_row(3), 1, 8), 1u);
  EXPECT_EQ(counts.view().at(count_row(4), 1, 0), 1u) << "no such type";
  EXPECT_EQ(counts.view().sum(0), 0u);
}

}  // namespace
}  // namespace bench
