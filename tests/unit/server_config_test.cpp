/// The server's configuration calls: limits, results, lists and what they say in the log.
#include "dhcp/relay.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

class ServerConfig : public ServerBench {
 protected:
  static DhcpPool& pool(uint32_t id = 1) { return *dhcp_get_pool_by_id(id); }
  static int set_host(uint32_t n, uint32_t address) {
    return dhcp_server_set_static_host(1, mac_number(n).data(), address);
  }
};

TEST_F(ServerConfig, EleventhPoolIsRefusedAndAKnownOneIsLeftAlone) {
  for (uint32_t id = 1; id <= 10; ++id) EXPECT_EQ(dhcp_server_create_pool_entry(id), 0);
  pool(3).lease = 77;
  EXPECT_EQ(dhcp_server_create_pool_entry(3), 0) << "known, though ten pools are there";
  EXPECT_EQ(pool(3).lease, 77u);
  EXPECT_EQ(dhcp_server_create_pool_entry(11), -2);
  EXPECT_EQ(dhcps_cfg.pools.count, 10);
  EXPECT_EQ((*Records<DhcpPool>(dhcps_cfg.pools.head).begin()).pool_id, 10u) << "newest first";
  EXPECT_EQ(pool(10).boot_file_size, 512);
  EXPECT_EQ(dhcp_server_del_pool_entry(99), 0);
}

TEST_F(ServerConfig, EveryCallIsBracketedByTheLockLines) {
  dhcp_server_create_pool_entry(1);
  dhcp_server_set_pool_lease(1, 60);
  std::vector<std::string> texts;
  for (const auto& line : device().log()) {
    EXPECT_EQ(line.level, 7);
    texts.push_back(line.text.substr(0, line.text.find(']')));
  }
  const std::string lock = "DHCP Server mutex try to lock() ++++++++++++++++",
                    unlock = "DHCP Server mutex unlock()      ----------------";
  ASSERT_EQ(texts.size(), 5u);
  EXPECT_THAT(texts, ElementsAre(lock, unlock, lock, StartsWith("[dhcp_server_set_pool_lease : "), unlock));
  EXPECT_EQ(device().logged_at(" pool_id:1, lease_time:60.\n", "pool lease"), 1);
}

TEST_F(ServerConfig, LeaseDefaultsOnlyWhenNoneWasSet) {
  make_pool();
  EXPECT_EQ(pool().lease, 86400u);
  dhcp_server_set_pool_lease(1, 3600);
  ASSERT_EQ(dhcp_server_set_pool_network(1, ip(10, 0, 0, 0), 0xff000000, ip(10, 0, 0, 1), ip(10, 0, 0, 9)), 0);
  EXPECT_EQ(pool().lease, 3600u);
  EXPECT_EQ(device().logged_at("set server pool network; pool_id:1, subnet:10.0.0.0, netmask:255.0.0.0, "
                               "start_ip:10.0.0.1, end_ip:10.0.0.9\n",
                               "set server pool network"),
            1);
  EXPECT_EQ(dhcp_server_del_pool_network(1), 0);
  EXPECT_EQ(pool().lease, 0u);
}

TEST_F(ServerConfig, NarrowedRangeLosesExactlyTheLeasesOutsideIt) {
  make_pool();
  for (uint32_t n = 1; n <= 5; ++n) lease(mac_number(n));  // .10 to .14
  make_pool(2, ip(192, 168, 2, 10), ip(192, 168, 2, 20), ip(192, 168, 2, 0), 0xffffff80);
  ASSERT_EQ(dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), mask24, ip(192, 168, 1, 11), ip(192, 168, 1, 13)), 0);
  std::vector<uint32_t> left;
  for (const auto& l : leases()) left.push_back(l.ip);
  EXPECT_THAT(left, ElementsAre(ip(192, 168, 1, 13), ip(192, 168, 1, 12), ip(192, 168, 1, 11)));
  EXPECT_EQ(pool().binding_count, 3);
  dhcp_server_del_pool_network(1);
  EXPECT_THAT(leases(), IsEmpty());
  // A pool's first network prunes nothing.
  wire::Received frame(discover(mac_number(1)).frame());
  dhcp_add_binding(frame.skp(), &pool(), ip(10, 0, 0, 1));
  ASSERT_EQ(dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), mask24, ip(192, 168, 1, 11), ip(192, 168, 1, 13)), 0);
  EXPECT_THAT(leases(), SizeIs(1));
}

TEST_F(ServerConfig, NetworkIsRefusedByTwoIndependentLookUps) {
  make_pool(1);
  make_pool(2, 1, 2, ip(192, 168, 1, 0), 0xffffff80);  // same network, and a mask that nobody else has
  make_pool(3, 1, 2, ip(192, 168, 3, 0));              // other network, same mask
  // Now pool 1's own network is refused, because pool 3 is the first with its mask.
  EXPECT_EQ(dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), mask24, 5, 6), -1);
  EXPECT_EQ(pool(1).start_ip, ip(192, 168, 1, 10)) << "unchanged";
}

TEST_F(ServerConfig, RouterListStopsAtTheOneOutsideTheSubnet) {
  make_pool();
  const uint32_t a = ip(192, 168, 1, 2), b = ip(10, 0, 0, 1), c = ip(192, 168, 1, 3);
  const uint32_t good[] = {a, c, a}, bad[] = {a, b, c}, first_bad[] = {b, a};
  EXPECT_EQ(dhcp_server_set_router(1, good, 3), 0);
  EXPECT_THAT(ips_of(pool().routers.head), ElementsAre(a, c, a));
  EXPECT_EQ(dhcp_server_set_router(1, bad, 3), -2);
  EXPECT_THAT(ips_of(pool().routers.head), ElementsAre(c));
  EXPECT_EQ(dhcp_server_set_router(1, first_bad, 2), -2);
  EXPECT_THAT(ips_of(pool().routers.head), ElementsAre(a));
  EXPECT_EQ(pool().routers.count, 1);
  dhcp_server_create_pool_entry(2);
  EXPECT_EQ(dhcp_server_set_router(2, good, 1), -2) << "a pool without a network has no router";
  EXPECT_EQ(dhcp_server_del_router(1), 0);
  EXPECT_EQ(pool().routers.count, 0);
  EXPECT_EQ(dhcp_server_set_dns_srv(1, bad, 3), 0) << "DNS servers may be anywhere";
  EXPECT_THAT(ips_of(pool().dns_servers.head), ElementsAre(a, b, c));
  EXPECT_EQ(device().logged_at("pool_id:1, num:3.\n", "dns srv"), 1);
}

TEST_F(ServerConfig, MemoryThatEndsKeepsWhatWasAdded) {
  make_pool();
  const uint32_t ips[] = {ip(192, 168, 1, 2), ip(192, 168, 1, 3), ip(192, 168, 1, 4)};
  testing::internal::CaptureStderr();
  const auto failing = [](int after, auto call) {
    fake::fail_allocations(1, after);
    EXPECT_EQ(call(), -1);
  };
  failing(2, [&] { return dhcp_server_set_router(1, ips, 3); });
  EXPECT_EQ(pool().routers.count, 2);
  failing(1, [&] { return dhcp_server_set_dns_srv(1, ips, 3); });
  EXPECT_EQ(pool().dns_servers.count, 1);
  EXPECT_EQ(device().logged_at("memory malloc failed for dhcp router!!\n", "dhcpc"), 2);
  failing(0, [] { return dhcp_server_create_pool_entry(2); });
  failing(0, [] { return dhcp_server_set_pool_option(1, 43, 1, Bytes(312).data(), 2); });
  failing(0, [] { return dhcp_server_set_exclude_ip(1, 2); });
  failing(0, [] { return set_host(1, ip(192, 168, 1, 10)); });
  failing(0, [] { return dhcp_add_conflict_ip(ip(192, 168, 1, 10)); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "memory malloc failed for dhcp router!!\nmemory malloc failed for dhcp pool entry!!\n"
            "memory mallc failed for dhcp pool option !!\nmemory mallc failed for dhcp exclude ip !!\n"
            "malloc failed for dhcp static host!\nmemory mallc failed for dhcp conflict ip node failed !!\n");
  EXPECT_EQ(device().logged_at(" malloc failed for dhcp static host.\n", "host"), 1);
  EXPECT_EQ(device().logged_at("memory malloc failed for dhcp pool entry.\n", "memory malloc failed"), 1);
}

TEST_F(ServerConfig, OptionSetTwiceKeepsItsPlace) {
  make_pool();
  const Bytes ones(312, 1), twos(312, 2);
  dhcp_server_set_pool_option(1, 43, 5, ones.data(), 2);
  dhcp_server_set_pool_option(1, 44, 5, ones.data(), 2);
  EXPECT_EQ(dhcp_server_set_pool_option(1, 43, 7, twos.data(), 3), 0);
  std::vector<int> codes;
  for (const DhcpPoolOption& option : Records<DhcpPoolOption>(pool().options.head)) codes.push_back(option.code);
  EXPECT_THAT(codes, ElementsAre(44, 43));
  const DhcpPoolOption* option = dhcp_get_pool_option(&pool().options.head, 256 + 43);
  ASSERT_NE(option, nullptr) << "the low 8 bits of the code count";
  EXPECT_EQ(option->len, 7);
  EXPECT_EQ(option->type, 3);
  EXPECT_EQ(option->value[311], 2) << "all 312 bytes are kept";
  EXPECT_EQ(dhcp_server_del_pool_option(1, 44), 0);
  EXPECT_EQ(dhcp_server_del_pool_option(1, 44), -1);
  EXPECT_EQ(pool().options.count, 1);
}

TEST_F(ServerConfig, ExcludedRangesAreExactPairs) {
  EXPECT_EQ(dhcp_server_set_exclude_ip(10, 20), 0);
  EXPECT_EQ(dhcp_server_set_exclude_ip(10, 20), 0);
  EXPECT_EQ(dhcp_server_set_exclude_ip(15, 16), 0) << "overlap is allowed";
  EXPECT_EQ(dhcp_server_set_exclude_ip(9, 3), 0) << "and so is an empty range";
  EXPECT_EQ(dhcps_cfg.excludes.count, 3);
  EXPECT_EQ(dhcp_server_del_exclude_ip(10, 19), -1);
  EXPECT_EQ(dhcp_server_del_exclude_ip(10, 20), 0);
  EXPECT_EQ(device().logged_at("startip:0.0.0.10, endip:0.0.0.20\n", "clear conflict"), 1);
  EXPECT_EQ(device().logged_at("startip:0.0.0.10, endip:0.0.0.20\n", "exclude ip"), 1);
}

TEST_F(ServerConfig, NamesAreCutAtTheirLimitAndTerminated) {
  make_pool();
  const std::string name(300, 'n');
  const struct {
    int (*set)(uint32_t, const char*);
    int (*del)(uint32_t);
    char* DhcpPool::*buffer;
    size_t limit;
  } rows[] = {{dhcp_server_set_domain_name, dhcp_server_del_domain_name, &DhcpPool::domain_name, 255},
              {dhcp_server_set_tftp_server, dhcp_server_del_tftp_server, &DhcpPool::server_name, 64},
              {dhcp_server_set_boot_file_name, dhcp_server_del_boot_file_name, &DhcpPool::boot_file, 128}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.set(1, name.c_str()), 0);
    EXPECT_EQ(pool().*row.buffer, name.substr(0, row.limit));
    EXPECT_EQ(row.set(1, "short"), 0);
    EXPECT_STREQ(pool().*row.buffer, "short");
    EXPECT_EQ(row.del(1), 0);
    EXPECT_EQ(pool().*row.buffer, nullptr);
  }
  EXPECT_EQ(dhcp_server_set_boot_file_size(1, 0x10203), 0);
  EXPECT_EQ(pool().boot_file_size, 0x203);
  EXPECT_EQ(device().logged_at("pool_id:1, size:66051.\n", "set Boot file size"), 1);
}

TEST_F(ServerConfig, ServerAndRelayExcludeEachOther) {
  dhcpr_cfg.status = 1;
  EXPECT_EQ(dhcp_server_start_stop(1), -1);
  dhcpr_cfg.status = 0;
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(dhcps_cfg.sock.load(), -1);
  EXPECT_EQ(dhcp_server_start_stop(0x101), 0) << "the low 8 bits count";
  EXPECT_EQ(dhcps_cfg.enable, 1);
  EXPECT_EQ(device().rules().size(), 2u);
  const int socket = dhcps_cfg.sock;
  EXPECT_EQ(dhcp_server_start_stop(1), 0);
  EXPECT_EQ(dhcps_cfg.sock.load(), socket) << "opened once";
  EXPECT_EQ(dhcp_server_start_stop(0x100), 0);
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(dhcps_cfg.sock.load(), -1);
}

TEST_F(ServerConfig, GroupsOfASmallDeviceFollowItsPorts) {
  device().physical_ports = 10;
  init_DHCPS_cfg();
  EXPECT_EQ(dhcps_cfg.port_count, 18);
  EXPECT_EQ(reinterpret_cast<intf_order_node*>(dhcps_cfg.ports)->prev->ifindex, 18u);
}

}  // namespace
}  // namespace bench
