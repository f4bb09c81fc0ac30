/// The transaction table against a plain twin, with holes, ages and a full house.
#include <random>

#include "tests/unit/relay_bench.h"

namespace {

using bench::device;
using bench::Mac;
using bench::mac_number;

/// The table as a list of rules: nothing clever, so that it can be read beside them.
struct Twin {
  struct Slot {
    bool used = false;
    Mac mac{};
    uint32_t time = 0, vlan = 0;
  };
  std::vector<Slot> slots = std::vector<Slot>(200);

  size_t choose(const Mac& mac, uint32_t now) const {
    size_t oldest = 0;
    for (size_t i = 0; i < slots.size(); ++i) {
      if (!slots[i].used || slots[i].mac == mac || now - slots[i].time >= 21) return i;
      if (now - slots[i].time > now - slots[oldest].time) oldest = i;
    }
    return oldest;
  }
  void add(const Mac& mac, uint32_t now, uint32_t vlan) { slots[choose(mac, now)] = {true, mac, now, vlan}; }
  int64_t vlan_of(const Mac& mac) const {
    for (const Slot& slot : slots) {
      if (slot.used && slot.mac == mac) return slot.vlan;
    }
    return -1;
  }
  int32_t used() const {
    return static_cast<int32_t>(std::count_if(slots.begin(), slots.end(), [](const Slot& s) { return s.used; }));
  }
};

class RelayTransactions : public bench::RelayBench {
 protected:
  static int64_t vlan_of(const Mac& mac) {
    uint32_t vlan = 0;
    return get_dhcp_info(mac.data(), nullptr, nullptr, &vlan, nullptr) == 0 ? static_cast<int64_t>(vlan) : -1;
  }
};

TEST_F(RelayTransactions, BehavesLikeAPlainTable) {
  for (const uint32_t clients : {30u, 199u, 400u}) {
    SCOPED_TRACE(clients);
    init_DHCPR_cfg();
    Twin twin;
    std::mt19937 engine(clients);
    const auto random = [&engine] { return static_cast<uint32_t>(engine()); };
    uint32_t now = 0;
    for (int step = 0; step < 3000; ++step) {
      at(now += random() % 16 == 0 ? random() % 8 : 0);
      const Mac mac = mac_number(random() % clients);
      const uint32_t vlan = random() % 4096;
      if (random() % 64 == 0) {  // a slot that is freed by the look alone leaves a hole
        int found = 0;
        const int index = get_valid_table_index(mac.data(), &found);
        ASSERT_EQ(static_cast<size_t>(index), twin.choose(mac, start + now));
        ASSERT_EQ(found == 1,
                  twin.slots[static_cast<size_t>(index)].mac == mac && twin.slots[static_cast<size_t>(index)].used);
        if (found == 0) twin.slots[static_cast<size_t>(index)].used = false;
      } else {
        ASSERT_EQ(add_valid_table(mac.data(), 1, 2, vlan, 0x10000), 0);
        twin.add(mac, start + now, vlan);
      }
      const Mac asked = mac_number(random() % clients);
      ASSERT_EQ(vlan_of(asked), twin.vlan_of(asked)) << "step " << step;
      ASSERT_EQ(dhcpr_cfg.info_count, twin.used()) << "step " << step;
    }
  }
}

TEST_F(RelayTransactions, SlotKeepsWhatItWasGivenAndAgesOnlyForOthers) {
  const Mac first = mac_number(1), second = mac_number(2);
  uint32_t from_ip = 0, from_port = 0;
  uint16_t to_all = 0;
  EXPECT_EQ(add_valid_table(first.data(), 0x0a0a0102, group, 10, 0x8000), 0);
  EXPECT_EQ(device().logged("add dhcp info node:from_ip(0xa0a0102),from_vlan(10),from_port(268435458),"
                            "mac(00:10:20:30:00:01)",
                            "dhcp_relay"),
            1);
  at(20);
  add_valid_table(second.data(), 0, 4, 20, 0);
  EXPECT_EQ(dhcpr_cfg.info_count, 2) << "20 seconds are too young";
  EXPECT_EQ(get_dhcp_info(first.data(), &from_ip, &from_port, nullptr, &to_all), 0);
  EXPECT_EQ(from_ip, 0x0a0a0102u);
  EXPECT_EQ(from_port, group);
  EXPECT_EQ(to_all, 1);
  at(100);
  EXPECT_EQ(vlan_of(first), 10) << "a late reply still finds its client";
  add_valid_table(mac_number(3).data(), 0, 4, 30, 0);
  EXPECT_EQ(vlan_of(first), -1);
  EXPECT_EQ(dhcpr_cfg.info_count, 2);
  EXPECT_EQ(add_valid_table(nullptr, 0, 0, 0, 0), -1);
  EXPECT_EQ(get_dhcp_info(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
}

}  // namespace
