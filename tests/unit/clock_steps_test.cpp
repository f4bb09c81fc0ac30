/// The wall clock set back by hours and forward by days, and the wrap of its 32 bits, with everything in place that
/// lasts for a time: nothing ends too soon, nothing stays for hours, nothing waits for the old time to come again.
#include <filesystem>

#include "client6/client6.h"
#include "dhcp/client6.h"
#include "tests/unit/relay6_bench.h"
#include "tests/unit/relay_bench.h"
#include "tests/unit/server6_bench.h"
#include "tests/unit/snooping6_bench.h"
#include "tests/unit/snooping_bench.h"

namespace bench {
namespace {

constexpr uint32_t hour = 3600, day = 24 * hour;

/// When a story begins, and to what time the clock is set in its midst, in seconds from then.
struct Step {
  const char* what;
  uint32_t begin, to;
};
constexpr uint32_t wrap = 0xffffffff;
constexpr Step back[] = {{"back by hours", 1'700'000'000, 0U - 5 * hour},
                         {"back by a year", 1'700'000'000, 0U - 365 * day},
                         {"back over the wrap", 100, 0U - 5 * hour},
                         {"no step, before the wrap", wrap - 20, 0}};

void set_clock(uint32_t seconds) { device().now = seconds; }

class ServerClock : public ServerBench {
 protected:
  /// Addresses' last bytes, newest first; offers in brackets.
  static std::string left_at(uint32_t now) {
    set_clock(now);
    age();
    std::string text;
    for (const Lease& lease : leases()) {
      const std::string last = std::to_string(lease.ip & 0xff);
      text += lease.state == DHCPS_OFFERED ? "(" + last + ")" : last + " ";
    }
    return text;
  }
};

TEST_F(ServerClock, LeasesOffersAndConflictsAfterAStepBack) {
  for (const Step& step : back) {
    SCOPED_TRACE(step.what);
    const uint32_t now = step.begin + step.to;
    set_clock(step.begin);
    make_pool();
    dhcp_server_set_pool_lease(1, 600);
    lease(mac_number(1));
    dhcp_server_set_pool_lease(1, 0xffffffff);
    lease(mac_number(2));
    dhcp_add_conflict_ip(ip(192, 168, 1, 20));
    offered(discover(mac_number(3)));
    EXPECT_EQ(left_at(now), "(12)11 10 ");
    EXPECT_EQ(left_at(now + 5), "11 10 ");
    EXPECT_EQ(left_at(now + 599), "11 10 ");
    EXPECT_EQ(left_at(now + 600), "11 ");
    EXPECT_EQ(left_at(now + day), "11 ");
    EXPECT_EQ(dhcps_cfg.conflicts.count, 1);
    EXPECT_EQ(left_at(now + day + 1), "11 ");
    EXPECT_EQ(dhcps_cfg.conflicts.count, 0);
    ASSERT_EQ(dhcp_server_del_pool_entry(1), 0);
  }
}

/// Also a clock that starts at 0 with the device and is set to the present when there is a time server.
TEST_F(ServerClock, StepForwardEndsWhatHasAnEndAndServesOn) {
  for (const uint32_t begin : {0u, 1u, 1'700'000'000u, wrap - hour}) {
    SCOPED_TRACE(begin);
    set_clock(begin);
    make_pool(1, ip(192, 168, 1, 10), ip(192, 168, 1, 10));
    dhcp_server_set_pool_lease(1, 600);
    EXPECT_EQ(lease(mac_number(1)), ip(192, 168, 1, 10));
    EXPECT_EQ(offered(discover(mac_number(2))), 0u) << "none is left";
    EXPECT_EQ(left_at(begin + (begin < 2 ? 1'700'000'000 : 3 * day)), "");
    EXPECT_EQ(lease(mac_number(2)), ip(192, 168, 1, 10));
    EXPECT_EQ(left_at(device().now + 599), "10 ");
    ASSERT_EQ(dhcp_server_del_pool_entry(1), 0);
  }
}

TEST_F(ServerClock, NoLeaseEndsAtTheValueThatMeansNever) {
  set_clock(wrap - 600);
  make_pool();
  dhcp_server_set_pool_lease(1, 600);
  lease(mac_number(1));
  EXPECT_EQ(left_at(wrap - 2), "10 ");
  EXPECT_EQ(left_at(0), "");
}

class Server6Clock : public Server6Bench {
 protected:
  static std::string left_at(uint32_t now) {
    set_clock(now);
    dhcp6s_binding_expire_timeout();
    return bound();
  }
};

TEST_F(Server6Clock, LeasesOffersAndConflictsAfterAStepBack) {
  const std::string leased = "2001:db8:1::10", offer = "(2001:db8:1::11) ";
  for (const Step& step : back) {
    SCOPED_TRACE(step.what);
    const uint32_t now = step.begin + step.to;
    set_clock(step.begin);
    make_pool();
    dhcp6_server_set_pool_lifetime(1, 300, 600);
    lease(1);
    dhcp6_add_conflict_ip(ip6("2001:db8:1::20").data());
    told({.type = wire::SOLICIT6, .client = 2});
    EXPECT_EQ(left_at(now), offer + leased);
    EXPECT_EQ(left_at(now + 60), leased);
    EXPECT_EQ(left_at(now + 600), leased);
    EXPECT_EQ(left_at(now + 601), "");
    left_at(now + day);
    EXPECT_EQ(conflicts(), "2001:db8:1::20");
    left_at(now + day + 1);
    EXPECT_EQ(conflicts(), "");
    ASSERT_EQ(dhcp6_server_del_pool_entry(1), 0);
  }
}

/// One of the two snoopings, with its calls named alike.
template <class Bench>
struct Calls;
template <>
struct Calls<SnoopingBench> {
  static constexpr auto age = check_mac_bind_valid, timer = timer_dhcp_snoop, cycle = cycle_write_bind_flash;
  static constexpr auto save_every = set_dhcp_snoop_writeflash;
  static void learn(const Mac& mac) { find_MacBindStruct(mac.data(), 1)->time = static_cast<int32_t>(device().now); }
};
template <>
struct Calls<Snooping6Bench> {
  static constexpr auto age = check_mac_bind6_valid, timer = timer_dhcp6_snoop, cycle = cycle_write_dhcp6_bind_flash;
  static constexpr auto save_every = set_dhcp6_snoop_writeflash;
  static void learn(const Mac& mac) { find_MacBind6Struct(mac.data(), 1)->time = static_cast<int32_t>(device().now); }
};

template <class Bench>
class SnoopingClock : public Bench {
 protected:
  /// Whether the bound client and the one that is learnt are there.
  static std::string left_at(uint32_t now, void (*age)()) {
    set_clock(now);
    age();
    return std::string(Bench::find(Bench::client) != nullptr ? "bound " : "") +
           (Bench::find(Bench::neighbour) != nullptr ? "learnt" : "");
  }
};
using Snoopings = testing::Types<SnoopingBench, Snooping6Bench>;
TYPED_TEST_SUITE(SnoopingClock, Snoopings);

TYPED_TEST(SnoopingClock, BindingsAfterAStepBack) {
  using To = Calls<TypeParam>;
  for (const Step& step : back) {
    SCOPED_TRACE(step.what);
    const uint32_t now = step.begin + step.to;
    set_clock(step.begin);
    this->bind(this->client);
    To::learn(this->neighbour);
    EXPECT_EQ(this->left_at(now, To::age), "bound learnt");
    EXPECT_EQ(this->left_at(now + 30, To::age), "bound learnt");
    EXPECT_EQ(this->left_at(now + 31, To::age), "bound ");
    EXPECT_EQ(this->left_at(now + 600, To::age), "bound ");
    EXPECT_EQ(this->left_at(now + 601, To::age), "");
  }
}

TYPED_TEST(SnoopingClock, AgeingAndSavingGoOnAfterAStep) {
  using To = Calls<TypeParam>;
  const auto saved_at = [this](uint32_t now) {
    set_clock(now);
    To::cycle();
    return std::filesystem::remove(this->table_path());
  };
  for (const Step& step : back) {
    SCOPED_TRACE(step.what);
    const uint32_t now = step.begin + step.to;
    To::save_every(1, 300);
    saved_at(step.begin);
    this->bind(this->client);
    To::learn(this->neighbour);
    EXPECT_EQ(this->left_at(step.begin, To::timer), "bound learnt");
    EXPECT_EQ(this->left_at(now, To::timer), "bound learnt");
    saved_at(now);
    EXPECT_THAT(this->left_at(now + 302, To::timer), StartsWith("bound")) << "the clock goes on from here";
    EXPECT_TRUE(saved_at(now + 302));
    EXPECT_THAT(this->left_at(now + 603, To::timer), Not(HasSubstr("learnt")));
    EXPECT_EQ(this->left_at(now + 904, To::timer), "");
    To::save_every(0, 0);
  }
}

class RelayClock : public RelayBench {};

TEST_F(RelayClock, RepliesFindTheirClientsAndHelpersAreAskedAnew) {
  start_routing();
  receive(discover());
  at(0U - 5 * hour);
  EXPECT_EQ(helper(server_ip).age, 0u);
  receive(wire::Message(wire::DISCOVER, other_mac), uplink);
  EXPECT_EQ(receive(from_server(wire::OFFER), uplink), 0);
  dhcpr_dhcp_server_mac_probe();
  EXPECT_EQ(helper(server_ip).valid, 1);
  EXPECT_EQ(met(DHCPR_REPLY_TO_CLIENT), 1u);
  device().take_sent();
}

class Relay6Clock : public Relay6Bench {};

TEST_F(Relay6Clock, ClientsOutliveAStepBackAndMakeRoomLater) {
  const auto client = [](uint32_t n) {
    auto ip = ip6("fe80::1:0");
    ip[15] = static_cast<uint8_t>(n);
    return ip;
  };
  const auto add = [&](uint32_t n) { dhcp6_relay_add_info_table(client(n).data(), client_mac.data(), 3, 10, nullptr); };
  const auto known = [&](uint32_t n) {
    return dhcp6_relay_get_info_table(client(n).data(), nullptr, nullptr, nullptr, nullptr) == 0;
  };
  for (uint32_t n = 0; n < 50; ++n) add(n);
  at(0U - 5 * hour);
  add(200);
  EXPECT_TRUE(known(0) && known(49) && known(200));
  at(61U - 5 * hour);
  add(201);
  EXPECT_FALSE(known(0) || known(49) || known(200));
  EXPECT_EQ(gDhcp6Relay.info_count, 1);
}

/// An interface with an address: T1 100, T2 160, valid for 300 seconds.
class Client6Clock : public DeviceBench {
 protected:
  void SetUp() override {
    DeviceBench::SetUp();
    dhcp6c_init();
  }
  void TearDown() override { dhcp6c_init(); }
  static Dhcp6cInterfaceNode& bind() {
    dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_DHCPV6);
    Dhcp6cInterfaceNode& node = *dhcp6c_find_interface_node(10);
    node.state = DHCPC6_BOUND;
    node.installed = 1;
    node.bound_time = device().now;
    node.t1 = 100, node.t2 = 160, node.valid_lifetime = 300;
    return node;
  }
  static int state_at(uint32_t now) {
    set_clock(now);
    dhcp::client6::pass();
    device().take_sent();
    return dhcp6c_find_interface_node(10)->state;
  }
};

TEST_F(Client6Clock, TimesBeginAnewAfterAStepBackAndEndWithOneForward) {
  for (const Step& step : back) {
    SCOPED_TRACE(step.what);
    const uint32_t now = step.begin + step.to;
    set_clock(step.begin);
    bind();
    EXPECT_EQ(state_at(now), DHCPC6_BOUND);
    EXPECT_EQ(state_at(now + 100), DHCPC6_BOUND);
    EXPECT_EQ(state_at(now + 101), DHCPC6_RENEW);
    EXPECT_EQ(state_at(now + 161), DHCPC6_REBIND);
    EXPECT_EQ(state_at(now + 3 * day), DHCPC6_RELEASE);
    EXPECT_EQ(state_at(now + 3 * day + 1), DHCPC6_INIT);
    dhcp6c_set_interface_ip6_mode(10, DHCP6C_MODE_STATIC);
  }
}

}  // namespace
}  // namespace bench
