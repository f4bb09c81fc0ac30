/// The two relays' tables of clients against one plain twin, with holes, ages and a full house.
#include <random>

#include "tests/unit/relay6_bench.h"
#include "tests/unit/relay_bench.h"

namespace {

using bench::device;
using bench::mac_number;
using wire::Bytes;

struct Slot {
  bool used = false;
  uint32_t who = 0, time = 0, vlan = 0;
  bool linked = false;
};
using Slots = std::vector<Slot>;

size_t oldest(const Slots& slots) {
  const auto older = [](const Slot& a, const Slot& b) { return a.time < b.time; };
  return static_cast<size_t>(std::min_element(slots.begin(), slots.end(), older) - slots.begin());
}

/// 200 slots; the first that is unused, the client's own or 21 seconds old.
struct Relay4Clients : bench::RelayBench {
  static constexpr size_t size = 200;

  static size_t place(const Slots& slots, uint32_t who, uint32_t now) {
    for (size_t i = 0; i < slots.size(); ++i) {
      if (!slots[i].used || slots[i].who == who || now - slots[i].time >= 21) return i;
    }
    return oldest(slots);
  }
  static int index(uint32_t who, int* found) { return get_valid_table_index(mac_number(who).data(), found); }
  static int add(const Slot& slot) { return add_valid_table(mac_number(slot.who).data(), 1, 2, slot.vlan, 0x10000); }
  static void expect(uint32_t who, const Slot* known) {
    uint32_t vlan = 0;
    ASSERT_EQ(get_dhcp_info(mac_number(who).data(), nullptr, nullptr, &vlan, nullptr), known != nullptr ? 0 : -1);
    EXPECT_EQ(vlan, known != nullptr ? known->vlan : 0);
  }
  static int32_t used() { return dhcpr_cfg.info_count; }
};

/// 100 slots; the client's own wherever it is, then the first that is unused or more than 60 seconds old.
struct Relay6Clients : bench::Relay6Bench {
  static constexpr size_t size = 100;

  static wire::Ip6 address(uint32_t who) {
    wire::Ip6 ip = wire::ip6("fe80::");
    ip[14] = static_cast<uint8_t>(who >> 8);
    ip[15] = static_cast<uint8_t>(who);
    return ip;
  }
  static Bytes link_of(const Slot& slot) { return Bytes(32, slot.linked ? static_cast<uint8_t>(slot.vlan) : 0); }
  static size_t place(Slots& slots, uint32_t who, uint32_t now) {
    size_t unused = slots.size();
    for (size_t i = 0; i < slots.size(); ++i) {
      if (slots[i].used && slots[i].who == who) return i;
      if (now - slots[i].time > 60) slots[i].used = false;
      if (!slots[i].used) unused = std::min(unused, i);
    }
    return unused < slots.size() ? unused : oldest(slots);
  }
  static int index(uint32_t who, int* found) { return dhcp6_get_info_table_index(address(who).data(), found); }
  static int add(const Slot& slot) {
    return dhcp6_relay_add_info_table(address(slot.who).data(), client_mac.data(), 1, slot.vlan,
                                      slot.linked ? link_of(slot).data() : nullptr);
  }
  static void expect(uint32_t who, const Slot* known) {
    uint16_t vlan = 0;
    Bytes link(32, 0xa5);
    ASSERT_EQ(dhcp6_relay_get_info_table(address(who).data(), nullptr, nullptr, &vlan, link.data()),
              known != nullptr ? 0 : -1);
    if (known == nullptr) return;
    EXPECT_EQ(vlan, known->vlan);
    EXPECT_EQ(link, link_of(*known));
  }
  static int32_t used() { return gDhcp6Relay.info_count; }
};

template <class Family>
class RelayClients : public Family {};
using Families = testing::Types<Relay4Clients, Relay6Clients>;
TYPED_TEST_SUITE(RelayClients, Families);

TYPED_TEST(RelayClients, AgreeWithAPlainTable) {
  Slots twin(TypeParam::size);
  std::mt19937 engine(6);
  const auto roll = [&engine](uint32_t sides) { return static_cast<uint32_t>(engine() % sides); };
  uint32_t now = this->start;
  for (int step = 0; step < 9000; ++step) {
    // Now a few, now a crowd; now with long pauses, now with short ones.
    const uint32_t clients = step / 500 % 3 == 0 ? 20 : step / 500 % 3 == 1 ? TypeParam::size - 1 : 400;
    now += roll(64) == 0 ? roll(60) : roll(16) == 0 ? roll(4) : 0;
    device().now = now;
    const uint32_t who = roll(clients);
    const size_t slot = this->place(twin, who, now);
    int found = 9;
    ASSERT_EQ(this->index(who, &found), static_cast<int>(slot)) << step;
    ASSERT_EQ(found, twin[slot].used && twin[slot].who == who) << step;
    if (found == 0) twin[slot].used = false;  // the look alone takes the place from whoever had it
    if (roll(32) != 0) {
      twin[slot] = {true, who, now, roll(4096), roll(2) == 0};
      ASSERT_EQ(this->add(twin[slot]), 0);
    }
    const uint32_t asked = roll(clients);
    const auto known = std::ranges::find_if(twin, [&](const Slot& one) { return one.used && one.who == asked; });
    this->expect(asked, known != twin.end() ? &*known : nullptr);
    ASSERT_EQ(this->used(), std::ranges::count_if(twin, &Slot::used)) << step;
    if (this->HasFailure()) return;
  }
}

TEST_F(Relay4Clients, SlotKeepsWhatItWasGiven) {
  uint32_t from_ip = 0, from_port = 0;
  uint16_t to_all = 0;
  EXPECT_EQ(add_valid_table(client.data(), 0x0a0a0102, group, 10, 0x8000), 0);
  EXPECT_EQ(get_dhcp_info(client.data(), &from_ip, &from_port, nullptr, &to_all), 0);
  EXPECT_TRUE(from_ip == 0x0a0a0102u && from_port == group && to_all == 1);
  EXPECT_EQ(add_valid_table(nullptr, 0, 0, 0, 0), -1);
  EXPECT_EQ(get_dhcp_info(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
}

TEST_F(Relay6Clients, ClientWithoutMemoryForItsLinkIsRefused) {
  fake::fail_allocations(1);
  EXPECT_EQ(add({.who = 1, .vlan = 10, .linked = true}), -1);
  EXPECT_EQ(used(), 0);
}

}  // namespace
