/// The DHCPv6 server's configuration, switch and clock.
#include <thread>

#include "base/services.h"
#include "tests/unit/server6_bench.h"

namespace {

using namespace wire;
using bench::device;
using bench::mac_number;

class Server6Config : public bench::Server6Bench {
 protected:
  static Ip6 address(int last) { return ip6(("2001:db8:1::" + std::to_string(last)).c_str()); }
  static int host(uint32_t client, const char* where, uint32_t pool = 1) {
    return dhcp6_server_set_static_host(pool, mac_number(client).data(), ip6(where).data());
  }
};

TEST_F(Server6Config, RefusalsOfTheConfiguration) {
  make_pool();
  EXPECT_EQ(dhcp6_server_create_pool_entry(1), 0) << "it is there";
  EXPECT_EQ(dhcp6_server_del_exclude_ip(1, address(11).data()), -1);
  EXPECT_EQ(host(1, "2001:db8:2::1"), -1) << "outside";
  EXPECT_EQ(host(9, "2001:db8:1::9"), 0);
  EXPECT_EQ(host(10, "2001:db8:1::9"), -1) << "another's";
  EXPECT_EQ(host(9, "2001:db8:1::99"), 0) << "moves";
  EXPECT_EQ(host(10, "2001:db8:1::9"), 0);
  EXPECT_EQ(dhcp6_server_del_static_host(1, mac_number(11).data()), -1);
  for (const char* name : {"a", "b", "a", "c", "b"}) EXPECT_EQ(dhcp6_server_set_domain_name(1, name), 0);
  EXPECT_EQ(dhcp6_server_set_domain_name(1, "d"), -2);
  EXPECT_EQ(dhcp6_server_del_domain_name(1, "b"), 0);
  EXPECT_EQ(dhcp6_server_set_domain_name(1, ""), -1);
  EXPECT_EQ(dhcp6_server_set_domain_name(1, std::string(254, 'x').c_str()), -1);
  EXPECT_EQ(dhcp6_server_set_domain_name(1, std::string(253, 'x').c_str()), 0);
  const uint8_t dns[4][16] = {};
  EXPECT_EQ(dhcp6_server_set_dns_srv(1, dns, 4), -2);
  EXPECT_EQ(dhcp6_server_set_dns_srv(1, dns, 3), 0);
  EXPECT_EQ(dhcp6_server_set_pool_lifetime(1, 2, 1), -1);
  EXPECT_EQ(dhcp6_server_set_pool_network(1, dns[0], dns[0], 129), -1);
  for (const int result :
       {dhcp6_server_set_pool_network(99, dns[0], dns[0], 64), dhcp6_server_del_pool_network(99),
        dhcp6_server_set_pool_lifetime(99, 1, 2), dhcp6_server_set_dns_srv(99, dns, 1), dhcp6_server_del_dns_srv(99),
        dhcp6_server_set_domain_name(99, "a"), dhcp6_server_del_domain_name(99, "a"),
        dhcp6_server_set_exclude_ip(99, dns[0]), dhcp6_server_del_exclude_ip(99, dns[0]), host(1, "::1", 99),
        dhcp6_server_del_static_host(99, mac_number(1).data())}) {
    EXPECT_EQ(result, -1) << "no such pool";
  }
  Dhcp6Pool pool;
  ASSERT_EQ(dhcp6_server_get_pools(&pool, 1), 1);
  EXPECT_STREQ(pool.domain[1], "c");
  EXPECT_EQ(bench::text_of(pool.host[0].ip6), "2001:db8:1::99");
}

TEST_F(Server6Config, BindingsEndWithTheirNetwork) {
  make_pool(1, "2001:db8:1::10", 0, "2001:db8:1::20");
  for (uint32_t client : {1u, 2u, 3u}) lease(client);
  dhcp6_server_set_pool_lifetime(1, 3, 5);
  EXPECT_EQ(dhcp6_server_set_pool_network(1, ip6("2001:db8:1::11").data(), ip6("2001:db8:1::11").data(), 0), 0);
  EXPECT_EQ(bound(), "2001:db8:1::11");
  EXPECT_EQ(told({SOLICIT6}), "") << "no address is left";
  EXPECT_EQ(verdicts(), "advertised replied with an address no free address");
  Dhcp6Pool pool;
  dhcp6_server_get_pools(&pool, 1);
  EXPECT_EQ((std::array{pool.preferred, pool.valid}), (std::array{3u, 5u})) << "not the defaults";
  EXPECT_EQ(pool.binding_count, 1);
  EXPECT_EQ(dhcp6_server_del_pool_network(1), 0);
  EXPECT_EQ(bound(), "");
  EXPECT_EQ(told({SOLICIT6}), "");
  EXPECT_EQ(verdicts(), "no pool");
}

TEST_F(Server6Config, TableHoldsFiveHundred) {
  make_pool();
  const uint8_t id[2] = {};
  Dhcp6Pool* pool = dhcp6_get_pool_by_id(1);
  for (int i = 0; i < 499; ++i) ASSERT_NE(dhcp6_add_binding(id, 2, pool, ip6("::1").data()), nullptr);
  EXPECT_EQ(told({SOLICIT6}), "ADVERTISE 2001:db8:1::10");
  EXPECT_EQ(told({SOLICIT6, nullptr, false, 2}), "") << "nothing is offered that cannot be kept";
  EXPECT_EQ(told({SOLICIT6}), "ADVERTISE 2001:db8:1::10") << "its own place is free again";
  dhcp6_server_clear_binding(ip6("2001:db8:1::10").data());
  fake::fail_allocations(1);
  EXPECT_EQ(told({SOLICIT6}), "");
  EXPECT_EQ(dhcp6s_cfg.bindings.count, 499);
}

TEST_F(Server6Config, ConflictsAreManyButNotEndless) {
  Ip6 ip = ip6("2001:db8:1::");
  for (int i = 0; i <= DHCP6S_MAX_CONFLICTS;
       ++i, ip[15] = static_cast<uint8_t>(i), ip[14] = static_cast<uint8_t>(i >> 8)) {
    EXPECT_EQ(dhcp6_add_conflict_ip(ip.data()), 0);
  }
  EXPECT_EQ(dhcp6s_cfg.conflicts.count, DHCP6S_MAX_CONFLICTS);
  EXPECT_EQ(dhcp6_request_ip_check(ip6("2001:db8:1::").data()), 0) << "the oldest has gone";
  EXPECT_EQ(dhcp6_request_ip_check(ip6("2001:db8:1::1").data()), -1);
}

TEST_F(Server6Config, EverythingEndsByTheClock) {
  make_pool();
  dhcp6_server_set_pool_lifetime(1, 100, 200);
  const auto after = [this](uint32_t seconds) {
    at(seconds);
    dhcp6s_binding_expire_timeout();
    return bound();
  };
  lease(1);
  told({SOLICIT6, nullptr, false, 2});
  dhcp6_add_conflict_ip(ip6("2001:db8:1::15").data());
  EXPECT_EQ(after(59), "(2001:db8:1::11) 2001:db8:1::10");
  EXPECT_EQ(after(60), "2001:db8:1::10");
  EXPECT_EQ(told({REBIND6, "2001:db8:1::10"}), "REPLY 2001:db8:1::10");
  EXPECT_EQ(after(260), "2001:db8:1::10") << "renewed at 60";
  EXPECT_EQ(dhcp6_server_binding_left(&bindings()[0]), 0);
  EXPECT_EQ(after(0), "2001:db8:1::10") << "the clock set back";
  EXPECT_EQ(after(261), "");
  dhcp6_server_set_pool_lifetime(1, 0xffffffff, 0xffffffff);
  lease(1);
  EXPECT_EQ(conflicts(), "2001:db8:1::15");
  after(86400);
  EXPECT_EQ(conflicts(), "2001:db8:1::15");
  EXPECT_EQ(after(86401), "2001:db8:1::10") << "never";
  EXPECT_EQ(conflicts(), "");
  EXPECT_EQ(dhcp6_server_binding_left(&bindings()[0]), -1);
}

TEST_F(Server6Config, IdentifierOutlivesTheSwitch) {
  const Bytes first_id = server_id();
  at(5);
  EXPECT_EQ(dhcp6_server_start_stop(0), 0);
  EXPECT_EQ(dhcp6_server_start_stop(0x100), 0);
  EXPECT_TRUE(dhcp::base::server6_on());
  EXPECT_EQ(server_id(), first_id) << "clients keep it";
}

TEST_F(Server6Config, HostMayConfigureWhileFramesArriveAndLeasesAge) {
  make_pool();
  std::thread frames([] {
    for (uint32_t n = 0; n < 200; ++n) lease(n % 15 + 1);
  });
  for (int n = 0; n < 50; ++n) {
    device().now += 30;
    dhcp6s_binding_expire_timeout();
    dhcp6_server_set_pool_network(1, address(12 + n % 3).data(), nullptr, 64);
    dhcp6_add_conflict_ip(address(13).data());
    dhcp6_server_clear_conflict(nullptr);
    dhcp6_server_clear_binding(nullptr);
    EXPECT_LE(bindings().size(), 15u);
    dhcp6_server_start_stop(n % 2);
  }
  frames.join();
}

}  // namespace
