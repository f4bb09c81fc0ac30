/// Which address a client is offered, and which binding is whose: by example, and beside a model that knows no indexes.
#include <algorithm>
#include <random>

#include "tests/unit/bench.h"

namespace bench {
namespace {

class ServerSelection : public ServerBench {};

TEST_F(ServerSelection, LowestFreeAddressIsOffered) {
  make_pool();
  device().vlan_interfaces[11] = {ip(192, 168, 1, 12), own_mac};
  dhcp_server_set_exclude_ip(ip(192, 168, 1, 13), ip(192, 168, 1, 14));
  dhcp_add_conflict_ip(ip(192, 168, 1, 15));
  dhcp_server_set_static_host(1, mac_number(99).data(), ip(192, 168, 1, 16));
  const std::vector<uint32_t> expected{10, 11, 17, 18, 19, 20, 0};
  for (uint32_t n = 0; n < expected.size(); ++n) EXPECT_EQ(lease(mac_number(n)) & 0xff, expected[n]) << n;
  EXPECT_EQ(device().logged_at("No free address available in the pool 1\n", "dhcpc"), 1);
  dhcp_server_clear_binding(ip(192, 168, 1, 11));
  EXPECT_EQ(lease(mac_number(50)), ip(192, 168, 1, 11)) << "a gap is filled first";
}

TEST_F(ServerSelection, StaticHostGetsItsAddressUnlessItIsTaken) {
  make_pool();
  const Mac host = mac_number(99);
  dhcp_server_set_static_host(1, host.data(), ip(192, 168, 1, 16));
  EXPECT_EQ(offered(discover(host).ip_option(50, ip(192, 168, 1, 20))), ip(192, 168, 1, 16));
  dhcp_server_clear_binding(0);
  dhcp_add_conflict_ip(ip(192, 168, 1, 16));
  EXPECT_EQ(offered(discover(host)), ip(192, 168, 1, 10));
  dhcp_server_clear_conflict(0);
  dhcp_server_set_exclude_ip(ip(192, 168, 1, 16), ip(192, 168, 1, 16));
  EXPECT_EQ(offered(discover(host)), ip(192, 168, 1, 10)) << "served like anybody";
}

TEST_F(ServerSelection, StoredKeyLengthRulesTheComparison) {
  make_pool();
  const auto with_id = [](const Bytes& id) { return discover(mac_number(1)).option(61, id); };
  offered(with_id({1, 'a', 'b'}));
  const uint32_t pool = 1;
  const auto finds = [&](const Bytes& id) {
    wire::Received frame(with_id(id).frame());
    return dhcp_get_binding(frame.skp(), pool, 0) != nullptr;
  };
  EXPECT_TRUE(finds({1, 'a', 'b'}));
  EXPECT_TRUE(finds({1, 'a', 'b', 'c'})) << "a key that goes on from the stored one";
  EXPECT_FALSE(finds({1, 'a'}));
  EXPECT_FALSE(finds({2, 'a', 'b'})) << "another type";
  offered(with_id({1, 'c', 0}));
  EXPECT_TRUE(finds({1, 'c'})) << "zeroes stand behind a short key";
}

/// What the server must do, done the plain way: vectors, newest first, walked from the start every time.
struct Twin {
  struct Binding {
    uint32_t ip, pool, expire;
    Bytes key;
    bool operator==(const Binding&) const = default;
  };
  struct Pool {
    uint32_t id, start, end;
    std::vector<std::pair<Mac, uint32_t>> hosts;
  };
  std::vector<Binding> bindings;
  std::vector<std::pair<uint32_t, uint32_t>> conflicts, excludes;
  std::vector<Pool> pools;

  bool excluded(uint32_t a) const {
    return std::any_of(excludes.begin(), excludes.end(), [a](auto& r) { return r.first <= a && a <= r.second; });
  }
  bool usable(uint32_t a) const {
    return sysmng_vlan(a) == 0 && std::none_of(bindings.begin(), bindings.end(), [a](auto& b) { return b.ip == a; }) &&
           std::none_of(conflicts.begin(), conflicts.end(), [a](auto& c) { return c.first == a; });
  }
  bool open(const Pool& pool, uint32_t a) const {
    return usable(a) && !excluded(a) &&
           std::none_of(pool.hosts.begin(), pool.hosts.end(), [a](auto& h) { return h.second == a; });
  }
  uint32_t select(const Pool& pool, uint32_t host, uint32_t requested) const {
    const uint32_t wanted = host != 0 ? host : requested;
    if (wanted != 0 && wanted >= pool.start && wanted <= pool.end && usable(wanted)) {
      if (host != 0 || open(pool, wanted)) return wanted;
    }
    for (uint64_t a = pool.start; a <= pool.end; ++a) {
      if (open(pool, static_cast<uint32_t>(a))) return static_cast<uint32_t>(a);
    }
    return 0;
  }
  const Binding* find(uint32_t pool, const Bytes& key, uint32_t address) const {
    for (const Binding& b : bindings) {
      Bytes padded = key;
      padded.resize(std::max(padded.size(), b.key.size()));
      if (!std::equal(b.key.begin(), b.key.end(), padded.begin())) continue;
      if (pool == 0 || (b.pool == pool && (address == 0 || b.ip == address))) return &b;
    }
    return nullptr;
  }
  static int sysmng_vlan(uint32_t a) {
    const auto& own = device().vlan_interfaces;
    return std::any_of(own.begin(), own.end(), [a](auto& v) { return v.second.ip == a; });
  }
};

class ServerTwin : public ServerSelection {
 protected:
  using Random = std::mt19937;
  uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
  Twin::Pool& any_pool() { return twin_.pools[below(2)]; }
  uint32_t any_address(const Twin::Pool& pool) { return pool.start - 2 + below(22); }  // may wrap, may miss
  /// Keys of one type, some of them the beginning of others.
  Bytes any_key() { return Bytes(1 + below(4), static_cast<uint8_t>('a' + below(4))); }
  static wire::Received frame_of(const Bytes& key) {
    Bytes id(1 + key.size(), 1);
    std::copy(key.begin(), key.end(), id.begin() + 1);
    return wire::Received(discover(mac_number(1)).option(61, id).frame());
  }

  void offer();
  void release();
  void age_all();
  void change_conflicts();
  void change_excludes();
  void change_hosts();
  void change_range();
  void compare();

  Random random_;
  Twin twin_;
  uint32_t clock_ = 0;
};

void ServerTwin::offer() {
  const Twin::Pool& pool = any_pool();
  const uint32_t wanted = below(2) == 0 ? 0 : any_address(pool);
  const uint32_t chosen = dhcp_select_ip_addr(dhcp_get_pool_by_id(pool.id), nullptr, wanted);
  ASSERT_EQ(chosen, twin_.select(pool, 0, wanted)) << "wanted " << wanted;
  if (chosen == 0) return;
  const Bytes key = any_key();
  wire::Received frame = frame_of(key);
  ASSERT_NE(dhcp_add_binding(frame.skp(), dhcp_get_pool_by_id(pool.id), chosen), nullptr);
  twin_.bindings.insert(twin_.bindings.begin(), {chosen, pool.id, start + clock_ + 5, key});
}

void ServerTwin::release() {
  const Bytes key = any_key();
  wire::Received frame = frame_of(key);
  const uint32_t pool = below(3), address = below(2) == 0 ? 0 : any_address(any_pool());
  DhcpBinding* seen = dhcp_get_binding(frame.skp(), pool, address);
  const Twin::Binding* expected = twin_.find(pool, key, address);
  ASSERT_EQ(seen != nullptr, expected != nullptr);
  if (seen == nullptr) return;
  ASSERT_EQ(seen->ip, expected->ip);
  ASSERT_EQ(dhcp_delete_binding(seen, nullptr), 0);
  twin_.bindings.erase(twin_.bindings.begin() + (expected - twin_.bindings.data()));
}

void ServerTwin::age_all() {
  clock_ += below(3);
  at(clock_);
  age();
  std::erase_if(twin_.bindings, [&](auto& b) { return b.expire <= start + clock_; });
  if (below(20) == 0) {
    dhcp_server_clear_binding(0);
    twin_.bindings.clear();
  }
}

void ServerTwin::change_conflicts() {
  const uint32_t address = any_address(any_pool());
  const auto known =
      std::find_if(twin_.conflicts.begin(), twin_.conflicts.end(), [&](auto& c) { return c.first == address; });
  if (known == twin_.conflicts.end()) {
    dhcp_add_conflict_ip(address);
    twin_.conflicts.insert(twin_.conflicts.begin(), {address, 0});
  } else {
    dhcp_server_clear_conflict(address);
    if (address == 0) return twin_.conflicts.clear();
    twin_.conflicts.erase(known);
  }
}

void ServerTwin::change_excludes() {
  if (twin_.excludes.size() > 2 || (!twin_.excludes.empty() && below(2) == 0)) {
    const auto range = twin_.excludes.back();
    twin_.excludes.pop_back();
    ASSERT_EQ(dhcp_server_del_exclude_ip(range.first, range.second), 0);
    return;
  }
  const uint32_t first = any_address(any_pool());
  const std::pair range{first, first + below(6) - 1};  // also empty ones
  if (std::find(twin_.excludes.begin(), twin_.excludes.end(), range) != twin_.excludes.end()) return;
  ASSERT_EQ(dhcp_server_set_exclude_ip(range.first, range.second), 0);
  twin_.excludes.push_back(range);
}

void ServerTwin::change_hosts() {
  Twin::Pool& pool = any_pool();
  const Mac mac = mac_number(below(14));  // more than a pool holds
  const auto known = std::find_if(pool.hosts.begin(), pool.hosts.end(), [&](auto& h) { return h.first == mac; });
  const bool visible = known != pool.hosts.end() && !twin_.excluded(known->second);
  if (below(3) == 0) {
    ASSERT_EQ(dhcp_server_del_static_host(pool.id, mac.data()), visible ? 0 : -1);
    if (visible) pool.hosts.erase(known);
    return;
  }
  const uint32_t address = any_address(pool);
  int expected = 0;
  if (pool.hosts.size() >= 10) {
    expected = -2;
  } else if (address < pool.start || address > pool.end ||
             std::any_of(pool.hosts.begin(), pool.hosts.end(),
                         [&](auto& h) { return h.second == address && h.first != mac; })) {
    expected = -1;
  }
  ASSERT_EQ(dhcp_server_set_static_host(pool.id, mac.data(), address), expected);
  if (expected != 0) return;
  if (visible) {
    known->second = address;
  } else {
    pool.hosts.insert(pool.hosts.begin(), {mac, address});
  }
}

void ServerTwin::change_range() {
  if (below(2) == 0) {
    device().vlan_interfaces[11] = {any_address(any_pool()), own_mac};  // the device's own address moves
    return;
  }
  Twin::Pool& pool = any_pool();
  const uint32_t network = pool.id == 1 ? ip(192, 168, 1, 0) : ip(255, 255, 255, 0);
  pool.end = (pool.id == 1 ? ip(192, 168, 1, 29) : ip(255, 255, 255, 255)) - below(8);
  pool.start = network + 236 + below(4) - (pool.id == 1 ? 226 : 0);
  ASSERT_EQ(dhcp_server_set_pool_network(pool.id, network, pool.id == 1 ? mask24 : 0xffffff80, pool.start, pool.end),
            0);
  std::erase_if(twin_.bindings, [&](auto& b) { return b.pool == pool.id && (b.ip < pool.start || b.ip > pool.end); });
}

void ServerTwin::compare() {
  std::vector<Twin::Binding> seen;
  for (const DhcpBinding& b : Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    seen.push_back({b.ip, b.pool_id, b.expire, Bytes(b.client_id, b.client_id + b.id_len)});
  }
  ASSERT_TRUE(seen == twin_.bindings);
  for (const Twin::Pool& pool : twin_.pools) {
    ASSERT_EQ(dhcp_select_ip_addr(dhcp_get_pool_by_id(pool.id), nullptr, 0), twin_.select(pool, 0, 0)) << pool.id;
    const auto held = std::count_if(seen.begin(), seen.end(), [&](auto& b) { return b.pool == pool.id; });
    ASSERT_EQ(dhcp_get_pool_by_id(pool.id)->binding_count, held);
  }
}

TEST_F(ServerTwin, AgreesWithThePlainWayStepByStep) {
  make_pool(1, ip(192, 168, 1, 10), ip(192, 168, 1, 29));
  make_pool(2, ip(255, 255, 255, 236), ip(255, 255, 255, 255), ip(255, 255, 255, 0), 0xffffff80);
  twin_.pools = {{1, ip(192, 168, 1, 10), ip(192, 168, 1, 29), {}},
                 {2, ip(255, 255, 255, 236), ip(255, 255, 255, 255), {}}};
  const auto seed = static_cast<uint32_t>(std::random_device{}());
  random_.seed(seed);
  for (int step = 0; step < 4000 && !HasFatalFailure(); ++step) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
    const uint32_t dice = below(20);
    if (dice < 9)
      offer();
    else if (dice < 13)
      release();
    else if (dice < 15)
      age_all();
    else if (dice < 16)
      change_conflicts();
    else if (dice < 17)
      change_excludes();
    else if (dice < 19)
      change_hosts();
    else
      change_range();
    if (!HasFatalFailure()) compare();
  }
}

}  // namespace
}  // namespace bench
