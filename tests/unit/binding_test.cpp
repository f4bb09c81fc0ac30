/// What the two snoopings' tables do alike: against a plain table under random operations, limits, ageing, the clears,
/// and when the file is written.
#include <filesystem>

#include "tests/unit/snooping6_bench.h"
#include "tests/unit/snooping_bench.h"

namespace bench {
namespace {

/// A binding's address is a number here, whatever it is in the family.
struct Family4 : SnoopingBench {
  using Entry = MacBindStruct;
  static constexpr bool newcomer_displaces = true, configured_is_saved = true, floods_groups = true;
  static constexpr auto age = check_mac_bind_valid, timer = timer_dhcp_snoop, cycle = cycle_write_bind_flash;
  static constexpr auto age_bucket = clear_mac_bind_list;
  static constexpr auto set_file = set_dhcp_snoop_writeflash;
  static constexpr auto begin = init_dhcp_snooping;
  static constexpr DhcpSnoopConfig& config = g_dhcp_snooping;

  static bool indexed(int vlan, uint32_t address) { return vlan != 0 && address != 0; }
  static Entry* find(const Mac& mac, bool create) { return find_MacBindStruct(mac.data(), create ? 1 : 0); }
  static Entry* holder(int vlan, uint32_t address) { return find_VlanIp_entry(vlan, address); }
  static void leave(Entry& entry) { del_VlanIp_table(&entry); }
  static void enter(Entry& entry, uint32_t address) {
    entry.ip = address;
    insert_VlanIp_table(&entry);
  }
  static void erase(Entry& entry) { __del_MacBindStruct(&entry); }
  static wire::Message ask(const Mac& mac) { return {wire::REQUEST, mac}; }
  static wire::Message chat(const Mac& mac) { return {wire::INFORM, mac}; }
  static wire::Message answer(const Mac& mac, uint32_t address, uint32_t lease_s) { return ack(mac, address, lease_s); }
  static wire::Message unicast(const Mac& mac) { return ack(mac).unicast_to(mac, SnoopingBench::address); }
  static Fate learn(const Mac& mac) { return receive(discover(mac), port); }
  static Entry& lease(const Mac& mac, uint32_t address, uint32_t lease_s) {
    return bind(mac, address, port, 10, lease_s);
  }
  static void configure(const Mac& mac) { set_dhcp_snoop_bind(1, mac.data(), 9, port, 10, 60); }
  static void clear(int type, uint32_t address, const Mac& mac, int vlan, uint32_t intf) {
    dhcp_snooping_binding_clear(type, address, mac.data(), vlan, intf);
  }
};

struct Family6 : Snooping6Bench {
  using Entry = MacBind6Struct;
  static constexpr bool newcomer_displaces = false, configured_is_saved = false, floods_groups = false;
  static constexpr auto age = check_mac_bind6_valid, timer = timer_dhcp6_snoop, cycle = cycle_write_dhcp6_bind_flash;
  static constexpr auto age_bucket = clear_mac_bind6_list;
  static constexpr auto set_file = set_dhcp6_snoop_writeflash;
  static constexpr auto begin = init_dhcp6_snooping;
  static constexpr Dhcp6SnoopConfig& config = g_dhcp6_snooping;

  static wire::Ip6 ip(uint32_t number) {
    wire::Ip6 made = wire::ip6("2001:db8::");
    const Bytes last = wire::be32(number);
    std::copy(last.begin(), last.end(), made.begin() + 12);
    return made;
  }
  static bool indexed(int, uint32_t) { return true; }
  static Entry* find(const Mac& mac, bool create) { return find_MacBind6Struct(mac.data(), create ? 1 : 0); }
  static Entry* holder(int vlan, uint32_t address) { return find_VlanIp6_entry(vlan, ip(address).data()); }
  static void leave(Entry& entry) { del_VlanIp6_table(&entry); }
  static void enter(Entry& entry, uint32_t address) {
    const wire::Ip6 made = ip(address);
    std::copy(made.begin(), made.end(), entry.ip6);
    insert_VlanIp6_table(&entry);
  }
  static void erase(Entry& entry) { __del_MacBind6Struct(&entry); }
  static wire::Message6 ask(const Mac& mac) { return {wire::REQUEST6, mac}; }
  static wire::Message6 chat(const Mac& mac) { return {wire::RENEW6, mac}; }
  static wire::Message6 answer(const Mac& mac, uint32_t address, uint32_t lease_s) {
    return reply(mac, ip(address), lease_s);
  }
  static wire::Message6 unicast(const Mac& mac) { return reply(mac); }
  static Fate learn(const Mac& mac) { return receive(wire::Message6(wire::SOLICIT6, mac), port); }
  static Entry& lease(const Mac& mac, uint32_t address, uint32_t lease_s) {
    return bind(mac, ip(address), port, 10, lease_s);
  }
  static void configure(const Mac& mac) { set_dhcp6_snoop_bind(1, mac.data(), port, 10, 60); }
  static void clear(int type, uint32_t address, const Mac& mac, int vlan, uint32_t intf) {
    dhcp6_snooping_binding_clear(type, ip(address).data(), mac.data(), vlan, intf);
  }
};

template <class Family>
class BothSnoopings : public Family {
 protected:
  /// The numbers of those of the first four clients that are in the table.
  static std::string left() {
    std::string numbers;
    for (const uint32_t n : {1u, 2u, 3u, 4u}) {
      if (Family::find(mac_number(n), false) != nullptr) numbers += std::to_string(n);
    }
    return numbers;
  }
  std::string left_at(uint32_t second, void (*call)()) {
    this->at(second);
    call();
    return left();
  }
};
using Families = testing::Types<Family4, Family6>;
TYPED_TEST_SUITE(BothSnoopings, Families);

TYPED_TEST(BothSnoopings, BehaveAsAPlainTableUnderRandomOperations) {
  compare_with_twin<TypeParam>(this->expect_whole);
}

TYPED_TEST(BothSnoopings, TurnThe251stClientAway) {
  for (uint32_t n = 0; n < 250; ++n) EXPECT_EQ(this->learn(mac_number(n)).sent.size(), 1u);
  EXPECT_EQ(this->learn(this->client).sent.size(), 0u);
  EXPECT_EQ(this->met(DHCP_SNOOP_TABLE_FULL, this->port, 1), 1u);
  EXPECT_EQ(this->learn(mac_number(7)).sent.size(), 1u) << "a known client still gets in";
}

TYPED_TEST(BothSnoopings, SendFramesToAllOrByTheKnownPortOrNotAtAll) {
  const auto flooded = this->learn(this->client).sent;
  ASSERT_EQ(flooded.size(), 1u);
  EXPECT_EQ(flooded[0].mode, 0);
  EXPECT_EQ(flooded[0].vlan, 10u);
  EXPECT_EQ(flooded[0].ports.size(), TypeParam::floods_groups ? 36u : 28u);
  EXPECT_EQ(flooded[0].ports.back(), TypeParam::floods_groups ? 0x1000000au : 28u);
  const auto answered = [&] { return this->receive(this->unicast(this->client), this->uplink).sent; };
  EXPECT_THAT(answered(), testing::IsEmpty()) << "nobody knows where";
  device().mac_table[{this->client, 10}] = 5;
  EXPECT_EQ(answered().at(0).mode, 2);
  EXPECT_THAT(answered().at(0).ports, testing::ElementsAre(5));
  device().group_of_port[5] = 3;
  EXPECT_THAT(answered().at(0).ports, testing::ElementsAre(TypeParam::floods_groups ? 0x10000003 : 5));
}

TYPED_TEST(BothSnoopings, MoveAClientAtTheAnswerAndNotBefore) {
  auto& binding = this->lease(this->client, 1, 600);
  this->receive(this->chat(this->client), this->other_port);
  this->receive(this->answer(this->client, 1, 600), this->uplink);
  EXPECT_EQ(binding.intf, uint32_t{this->port}) << "who does not ask for an address does not move";
  this->at(100);
  this->receive(this->ask(this->client), this->other_port);
  EXPECT_EQ(binding.intf, uint32_t{this->port}) << "nor does who only asks";
  this->receive(this->answer(this->client, 1, 300), this->uplink);
  EXPECT_EQ(binding.intf, uint32_t{this->other_port});
  EXPECT_EQ(binding.time, static_cast<int32_t>(this->start + 100));
  this->receive(this->ask(this->client).vlan(20), this->other_port);
  EXPECT_EQ(this->holder(10, 1), &binding);
  this->receive(this->answer(this->client, 2, 400).vlan(20), this->uplink);
  EXPECT_EQ(this->holder(10, 1), nullptr);
  EXPECT_EQ(this->holder(20, 2), &binding);
  EXPECT_EQ(this->config.min_lease, 300) << "only a shorter lease counts";
  this->receive(this->answer(this->neighbour, 3, 60), this->uplink);
  EXPECT_EQ(this->find(this->neighbour, false), nullptr) << "an answer makes no binding";
}

TYPED_TEST(BothSnoopings, FillAStaticBindingFromTheAnswer) {
  this->configure(this->client);
  auto& fixed = *this->find(this->client, false);
  for (const uint32_t n : {1u, 2u}) {
    this->receive(this->answer(this->client, n, 20), this->uplink);
    EXPECT_EQ(this->holder(10, n), &fixed);
    EXPECT_EQ(this->holder(10, n - 1), nullptr);
  }
  EXPECT_EQ(fixed.lease, 20);
  EXPECT_EQ(fixed.is_static, 1);
  EXPECT_EQ(this->config.min_lease, 0) << "it never ends";
}

TYPED_TEST(BothSnoopings, EachEntryEndsAtItsOwnSecond) {
  this->learn(mac_number(1));
  this->lease(mac_number(2), 2, 30).is_static = 1;
  this->lease(mac_number(3), 3, 30);
  this->lease(mac_number(4), 4, 0xffffffff);  // an endless lease of the wire
  EXPECT_EQ(this->config.min_lease, -1);
  EXPECT_EQ(this->left_at(30, TypeParam::age), "123") << "a lease ends after its last second";
  for (const int none : {-1, 256}) this->age_bucket(none);
  EXPECT_EQ(this->left_at(31, TypeParam::age), "2");
  EXPECT_EQ(this->left_at(1'000'000, TypeParam::age), "2");
}

TYPED_TEST(BothSnoopings, AgeEveryHalfOfTheShortestLease) {
  this->learn(mac_number(1));
  EXPECT_EQ(this->left_at(0, TypeParam::timer), "1");
  EXPECT_EQ(this->left_at(1000, TypeParam::timer), "1") << "nothing is aged before the first lease";
  this->config.min_lease = 101;
  EXPECT_EQ(this->left_at(1050, TypeParam::timer), "1");
  EXPECT_EQ(this->left_at(1051, TypeParam::timer), "");
  this->learn(mac_number(1));
  EXPECT_EQ(this->left_at(1100, TypeParam::timer), "1");
  EXPECT_EQ(this->left_at(1102, TypeParam::timer), "") << "a refused call does not put the next one off";
  this->begin();
  this->find(mac_number(1), true);
  this->config.min_lease = 10;
  EXPECT_EQ(this->left_at(9000, TypeParam::timer), "1") << "a new start begins with the clock stopped";
}

TYPED_TEST(BothSnoopings, ClearExactlyWhatMatchesTheKeys) {
  const Mac same_bucket{0x02, 0xaa, 0, 0, 0x01, 0};
  for (int type = 0; type < 17; ++type) {
    for (int call = 0; call < 6; ++call) {
      SCOPED_TRACE("type " + std::to_string(type) + ", call " + std::to_string(call));
      this->lease(this->client, 1, 60).is_static = call == 5 ? 1 : 0;
      this->clear(type, call == 1 ? 2 : 1, call == 2 ? same_bucket : this->client, call == 3 ? 30 : 10,
                  call == 4 ? this->other_port : this->port);
      EXPECT_EQ(this->find(this->client, false) == nullptr, cleared[type][call] == '+');
      this->clear(9, 0, this->client, 0, 0);
    }
  }
  this->learn(mac_number(1));
  for (const int type : {17, 1000, -1}) this->clear(type, 0, mac_number(1), 10, this->port);
  EXPECT_EQ(this->left(), "1");
  this->clear(15, 0, {}, 10, 0);
  EXPECT_EQ(this->left(), "") << "also one that is being learnt";
}

TYPED_TEST(BothSnoopings, SaveWhatHasEnteredOnceAnInterval) {
  const auto written_at = [&](uint32_t second) {
    this->at(second);
    this->cycle();
    return std::filesystem::remove(this->table_path());
  };
  const auto asked_for = [&](int mode) {
    this->set_file(mode, 300);
    return std::filesystem::exists(this->table_path());
  };
  this->lease(this->client, 1, 60);
  EXPECT_FALSE(written_at(0) || written_at(1000)) << "off";
  this->set_file(1, 300);
  EXPECT_FALSE(written_at(1000) || written_at(1300)) << "the first call only starts the clock";
  EXPECT_TRUE(written_at(1301));
  EXPECT_FALSE(written_at(1602)) << "nothing has entered since";
  this->configure(this->neighbour);
  EXPECT_EQ(written_at(1903), TypeParam::configured_is_saved);
  this->lease(mac_number(1), 2, 60);
  EXPECT_TRUE(asked_for(2));
  std::filesystem::remove(this->table_path());
  EXPECT_FALSE(written_at(9000)) << "an ordered write has saved all";
  EXPECT_FALSE(asked_for(3));
  EXPECT_TRUE(asked_for(2));
  EXPECT_FALSE(asked_for(0)) << "off takes the file along";
  EXPECT_EQ(this->config.writeflash_enable + this->config.writeflash_interval, 0);
}

}  // namespace
}  // namespace bench
