/// Which address a DHCPv6 client is offered: single rules, then the server against a plain twin.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "tests/unit/server6_bench.h"

namespace {

using namespace wire;
using bench::device;
using bench::mac_number;

class Server6Selection : public bench::Server6Bench {
 protected:
  static std::string selected(const char* requested, const char* host_address = nullptr) {
    Dhcp6StaticHost host{};
    if (host_address != nullptr) std::ranges::copy(ip6(host_address), host.ip6);
    Ip6 found{}, wanted{};
    if (requested != nullptr) wanted = ip6(requested);
    const int result = dhcp6_select_ip_addr(dhcp6_get_pool_by_id(1), host_address != nullptr ? &host : nullptr,
                                            requested != nullptr ? wanted.data() : nullptr, found.data());
    return result == 0 ? bench::text_of(found.data()) : found == Ip6{} ? "" : "written though none was found";
  }
  static std::string offered(uint32_t client) { return told({.type = SOLICIT6, .client = client}); }
};

TEST_F(Server6Selection, RequestedAddressMustBeFree) {
  make_pool(1, "2001:db8:1::1", 64);
  dhcp6_server_set_exclude_ip(1, ip6("2001:db8:1::2").data());
  dhcp6_server_set_static_host(1, mac_number(5).data(), ip6("2001:db8:1::3").data());
  dhcp6_add_conflict_ip(ip6("2001:db8:1::4").data());
  dhcp6_add_binding(nullptr, 0, dhcp6_get_pool_by_id(1), ip6("2001:db8:1::5").data());
  const char* const lowest = "2001:db8:1::6";  // ::1 is the device's own
  EXPECT_EQ(selected(nullptr), lowest);
  for (const char* taken :
       {"2001:db8:1::1", "2001:db8:1::2", "2001:db8:1::3", "2001:db8:1::4", "2001:db8:1::5", "2001:db8:2::9", "::"}) {
    EXPECT_EQ(selected(taken), lowest) << taken;
  }
  EXPECT_EQ(selected("2001:db8:1::"), "2001:db8:1::") << "below the first address, but in the prefix";
  EXPECT_EQ(selected("2001:db8:1:0:ffff::"), "2001:db8:1:0:ffff::");
  EXPECT_EQ(selected("2001:db8:1::9", "2001:db8:1::3"), "2001:db8:1::3") << "a host's own comes first";
  EXPECT_EQ(selected("2001:db8:1::9", "2001:db8:1::2"), "2001:db8:1::2") << "excluded, but kept for the host";
  EXPECT_EQ(selected("2001:db8:1::9", "2001:db8:1::4"), lowest);
  device().vlan_interfaces[10].ip6 = "2001:db8:1::6";
  EXPECT_EQ(selected(nullptr), "2001:db8:1::1") << "the device's address moves while the scan is remembered";
}

TEST_F(Server6Selection, ScanEndsWhereThePoolEnds) {
  const struct {
    const char *start, *end;
    int prefix_len;
    std::vector<std::string> offers;
  } rows[] = {
      {"2001:db8:1::fe", "2001:db8:1::ff", 0, {"2001:db8:1::fe", "2001:db8:1::ff", ""}},
      {"2001:db8:1::ff", "2001:db8:1::fe", 0, {""}},
      {"2001:db8:1::ffff", "2001:db8:1::1:0", 0, {"2001:db8:1::ffff", "2001:db8:1::1:0", ""}},
      {"2001:db8:1::7f", "::", 120, {"2001:db8:1::7f", "2001:db8:1::80"}},
      {"2001:db8:1::1e", "::", 123, {"2001:db8:1::1e", "2001:db8:1::1f", ""}},
      {"2001:db8:1::77", "::", 128, {"2001:db8:1::77", ""}},
      {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe",
       "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
       0,
       {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "", ""}},
      {"ffff::", "::", 1, {"ffff::", "ffff::1"}},
  };
  for (const auto& row : rows) {
    make_pool(1, row.start, row.prefix_len, row.end);
    for (const std::string& offer : row.offers) {
      EXPECT_EQ(selected(nullptr), offer) << row.start;
      if (!offer.empty()) dhcp6_add_binding(nullptr, 0, dhcp6_get_pool_by_id(1), ip6(offer.c_str()).data());
    }
    dhcp6_server_del_pool_entry(1);
  }
}

TEST_F(Server6Selection, PoolIsTheNewestThatHoldsTheKey) {
  const struct {
    const char* start;
    int prefix_len;
    const char* own;
    uint8_t own_len;
    bool serves;
  } rows[] = {
      {"2001:db8:1::10", 64, "2001:db8:1:0:ff::1", 128, true},
      {"2001:db8:1::10", 65, "2001:db8:1:0:8000::1", 64, false},
      {"2001:db8:1::10", 0, "2001:db8:1:0:ff::1", 64, true},
      {"2001:db8:1::10", 0, "2001:db8:1:0:ff::1", 96, false},
      {"2001:db8:1::10", 0, "2001:db9::1", 0, true},
      {"2001:db8:1::10", 1, "", 64, false},
  };
  make_pool(1, "::5", 0, "::4");
  for (const auto& row : rows) {
    make_pool(2, row.start, row.prefix_len, "2001:db8:1::ff");
    device().vlan_interfaces[10] = {.ip6 = row.own, .prefix6 = row.own_len};
    Received received(message({SOLICIT6}).frame());
    const Dhcp6Pool* pool = dhcp6_get_pool_entry(received.skp());
    EXPECT_EQ(pool != nullptr && pool->pool_id == 2, row.serves)
        << row.start << "/" << row.prefix_len << " " << row.own;
  }
}

/// What the server should hold, kept in the plainest way.
struct Twin {
  std::map<uint32_t, std::string> held;  // by client
  std::set<std::string> declined;

  std::string lowest() const {
    for (int last = 0x10; last <= 0x1b; ++last) {
      char text[32];
      snprintf(text, sizeof text, "2001:db8:1::%x", last);
      const auto holds = [&](const auto& entry) { return entry.second == text; };
      if (!declined.contains(text) && std::ranges::none_of(held, holds)) return text;
    }
    return "";
  }
};

TEST_F(Server6Selection, ServerAgreesWithAPlainTwin) {
  make_pool(1, "2001:db8:1::10", 0, "2001:db8:1::1b");
  const auto seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::minstd_rand random(seed);
  Twin twin;
  for (int step = 0; step < 3000 && !HasFailure(); ++step) {
    const auto client = static_cast<uint32_t>(random() % 14 + 1);
    const std::string held = twin.held[client];
    twin.held.erase(client);
    const bool frees = random() % 3 == 0;
    const bool own_is_free = !held.empty() && !twin.declined.contains(held);
    if (frees && !held.empty()) {
      const bool declines = random() % 8 == 0;
      EXPECT_EQ(told({declines ? DECLINE6 : RELEASE6, held.c_str(), true, client}), "REPLY status 0");
      if (declines) twin.declined.insert(held);
    } else {
      const std::string expected = own_is_free ? held : twin.lowest();
      EXPECT_EQ(lease(client), expected);
      if (!expected.empty()) twin.held[client] = expected;
    }
    if (random() % 200 == 0) {
      dhcp6_server_clear_conflict(nullptr);
      twin.declined.clear();
    }
    std::set<std::string> bound_here, bound_there;
    for (const Dhcp6Binding& binding : bindings()) bound_here.insert(bench::text_of(binding.ip6));
    for (const auto& [who, address] : twin.held) bound_there.insert(address);
    EXPECT_EQ(bound_here, bound_there);
  }
}

}  // namespace
