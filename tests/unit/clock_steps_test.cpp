/// The wall clock set back by hours and forward by days, with everything in place that lasts for a time. Set back, what
/// is held stays until its old end and everybody is served on; set forward, what has an end has ended.
#include <filesystem>

#include "client6/client6.h"
#include "dhcp/client6.h"
#include "tests/unit/relay_bench.h"
#include "tests/unit/server6_bench.h"
#include "tests/unit/snooping6_bench.h"
#include "tests/unit/snooping_bench.h"

namespace bench {
namespace {

constexpr uint32_t hour = 3600, day = 24 * hour;

constexpr uint32_t begin = 1'700'000'000, back = begin - 5 * hour;

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

TEST_F(ServerClock, SetBackNothingEndsAndRenewalsAreTimedAnew) {
  set_clock(begin);
  make_pool();
  dhcp_server_set_pool_lease(1, 600);
  lease(mac_number(1));
  dhcp_add_conflict_ip(ip(192, 168, 1, 20));
  offered(discover(mac_number(3)));
  EXPECT_EQ(left_at(back), "(11)10 ");
  EXPECT_EQ(lease(mac_number(4)), ip(192, 168, 1, 12));
  EXPECT_EQ(left_at(back + 599), "12 (11)10 ");
  EXPECT_EQ(left_at(back + 600), "(11)10 ") << "the lease of the new time ends by it";
  EXPECT_EQ(left_at(begin + 5), "10 ");
  EXPECT_EQ(left_at(begin + 600), "");
  EXPECT_EQ(dhcps_cfg.conflicts.count, 1);
  EXPECT_EQ(left_at(begin + day + 1), "");
  EXPECT_EQ(dhcps_cfg.conflicts.count, 0);
}

/// Also a clock that starts at 0 with the device and is set to the present when there is a time server.
TEST_F(ServerClock, StepForwardEndsWhatHasAnEndAndServesOn) {
  for (const uint32_t first : {0u, 1u, begin}) {
    SCOPED_TRACE(first);
    set_clock(first);
    make_pool(1, ip(192, 168, 1, 10), ip(192, 168, 1, 10));
    dhcp_server_set_pool_lease(1, 600);
    EXPECT_EQ(lease(mac_number(1)), ip(192, 168, 1, 10));
    EXPECT_EQ(offered(discover(mac_number(2))), 0u) << "none is left";
    EXPECT_EQ(left_at(first < 2 ? begin : begin + 3 * day), "");
    EXPECT_EQ(lease(mac_number(2)), ip(192, 168, 1, 10));
    EXPECT_EQ(left_at(device().now + 599), "10 ");
    ASSERT_EQ(dhcp_server_del_pool_entry(1), 0);
  }
}

class Server6Clock : public Server6Bench {
 protected:
  static std::string left_at(uint32_t now) {
    set_clock(now);
    dhcp6s_binding_expire_timeout();
    return bound();
  }
};

TEST_F(Server6Clock, SetBackNothingEndsSetForwardEverythingDoes) {
  const std::string leased = "2001:db8:1::10", offer = "(2001:db8:1::11) ";
  set_clock(begin);
  make_pool();
  dhcp6_server_set_pool_lifetime(1, 300, 600);
  lease(1);
  dhcp6_add_conflict_ip(ip6("2001:db8:1::20").data());
  told({.type = wire::SOLICIT6, .client = 2});
  EXPECT_EQ(left_at(back), offer + leased);
  EXPECT_EQ(left_at(begin + 59), offer + leased);
  EXPECT_EQ(left_at(begin + 600), leased);
  EXPECT_EQ(left_at(begin + 601), "");
  EXPECT_EQ(conflicts(), "2001:db8:1::20");
  left_at(begin + 3 * day);
  EXPECT_EQ(conflicts(), "");
  lease(1);
  EXPECT_EQ(left_at(begin + 3 * day + 600), leased);
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

TYPED_TEST(SnoopingClock, SetBackBindingsStaySetForwardTheyLapse) {
  using To = Calls<TypeParam>;
  set_clock(begin);
  this->bind(this->client);
  To::learn(this->neighbour);
  EXPECT_EQ(this->left_at(back, To::age), "bound learnt");
  EXPECT_EQ(this->left_at(begin + 30, To::age), "bound learnt");
  EXPECT_EQ(this->left_at(begin + 31, To::age), "bound ");
  EXPECT_EQ(this->left_at(begin + 600, To::age), "bound ");
  EXPECT_EQ(this->left_at(begin + 3 * day, To::age), "");
  this->bind(this->client);
  EXPECT_EQ(this->left_at(begin + 3 * day + 600, To::age), "bound ") << "it is served in the new time";
}

TYPED_TEST(SnoopingClock, AgeingAndSavingWaitForTheOldTime) {
  using To = Calls<TypeParam>;
  const auto saved_at = [this](uint32_t now) {
    set_clock(now);
    To::cycle();
    return std::filesystem::remove(this->table_path());
  };
  To::save_every(1, 300);
  saved_at(begin);
  this->bind(this->client);
  EXPECT_EQ(this->left_at(begin, To::timer), "bound ");
  EXPECT_EQ(this->left_at(back, To::timer), "bound ");
  EXPECT_FALSE(saved_at(back + 302));
  EXPECT_TRUE(saved_at(begin + 302));
  EXPECT_EQ(this->left_at(begin + 3 * day, To::timer), "");
  To::save_every(0, 0);
}

class RelayClock : public RelayBench {};

/// A request that was under way may be forgotten; its client repeats it.
TEST_F(RelayClock, SetBackHelpersStayKnownAndRequestsFindTheirWay) {
  start_routing();
  receive(discover());
  at(0U - 5 * hour);
  EXPECT_EQ(helper(server_ip).age, 0u);
  dhcpr_dhcp_server_mac_probe();
  EXPECT_EQ(helper(server_ip).valid, 1);
  receive(wire::Message(wire::DISCOVER, other_mac), uplink);
  receive(discover());
  EXPECT_EQ(receive(from_server(wire::OFFER), uplink), 0);
  EXPECT_EQ(met(DHCPR_REPLY_TO_CLIENT), 1u);
  device().take_sent();
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

TEST_F(Client6Clock, SetBackTimesWaitSetForwardTheyHavePassed) {
  set_clock(begin);
  bind();
  EXPECT_EQ(state_at(back), DHCPC6_BOUND);
  EXPECT_EQ(state_at(begin + 100), DHCPC6_BOUND);
  EXPECT_EQ(state_at(begin + 101), DHCPC6_RENEW);
  EXPECT_EQ(state_at(back), DHCPC6_RENEW);
  EXPECT_EQ(state_at(begin + 3 * day), DHCPC6_RELEASE);
  EXPECT_EQ(state_at(begin + 3 * day + 1), DHCPC6_INIT);
}

}  // namespace
}  // namespace bench
