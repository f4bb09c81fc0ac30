/// What the tests of both snoopings stand on, and what their binding tables are held against: a plain one under the
/// same random operations.
#pragma once

#include <algorithm>
#include <random>

#include "base/list.h"
#include "tests/unit/bench.h"

namespace bench {

/// Clients on any port of VLANs 10 and 20, the server behind trusted port 24.
class BindingBench : public DeviceBench {
 protected:
  static constexpr uint32_t port = 3, other_port = 4, uplink = 24, group = 0x10000002;
  static constexpr Mac client{0x02, 0xaa, 0, 0, 0, 0x01}, neighbour{0x02, 0xaa, 0, 0, 0, 0x02};
  static constexpr Mac server_mac{0x02, 0xbb, 0, 0, 0, 0x01};

  /// What became of one frame.
  struct Fate {
    int result;
    std::vector<fake::Sent> sent;
  };
  template <class Frame>
  static Fate pass(int (*door)(skpack*), const dhcp::base::FrameCountView& counts, const Frame& frame, uint32_t in_port,
                   size_t room = 0) {
    wire::Received received(frame.frame(), in_port, room);
    const int result = counted_once(counts, in_port, [&] { return door(received.skp()); });
    return {result, device().take_sent()};
  }
  static std::string table_path() { return device().temp_directory() + "/table.ini"; }
  static std::string next_path() { return device().temp_directory() + "/next.ini"; }
  /// What a display or save function writes.
  static std::string shown(int (*show)(char*, int, int)) {
    char path[128] = "";
    const int size = show(path, 1, 2);
    EXPECT_EQ(size, static_cast<int>(strlen(path)) + 1);
    return read_file(path);
  }
  static std::string saved(int (*save)(FILE*)) {
    const std::string path = device().temp_directory() + "/saved";
    FILE* stream = fopen(path.c_str(), "we");
    EXPECT_EQ(save(stream), 0);
    fclose(stream);
    return read_file(path);
  }
};

/// Which of the seventeen clears delete a binding. Columns: all keys right, then the address, MAC, VLAN, interface
/// wrong, then all right on a static binding.
inline constexpr const char* cleared[17] = {"++++++", "+-++++", "+--+++", "+--+-+", "+---++", "+----+",
                                            "+-++-+", "+-+-++", "+-+--+", "++-+++", "++-+-+", "++--++",
                                            "++---+", "++++-+", "++++--", "+++-++", "+++--+"};

/// The rules of the table on a plain vector.
struct Twin {
  struct Row {
    Mac mac;
    uint32_t address, intf;
    int vlan, lease;
    bool fixed, bound, indexed;
    uint32_t time;
  };
  std::vector<Row> rows;

  Row* find(const Mac& mac) {
    const auto at = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.mac == mac; });
    return at == rows.end() ? nullptr : &*at;
  }
  Row* holder(int vlan, uint32_t address) {
    const auto at = std::find_if(rows.begin(), rows.end(),
                                 [&](const Row& r) { return r.indexed && r.vlan == vlan && r.address == address; });
    return at == rows.end() ? nullptr : &*at;
  }
  Row* create(const Mac& mac) {
    if (Row* known = find(mac)) return known;
    if (rows.size() >= 250) return nullptr;
    rows.push_back({mac, 0, 0, 0, 0, false, false, false, 0});
    return &rows.back();
  }
  void bind(Row wanted, bool newcomer_displaces) {
    if (create(wanted.mac) == nullptr) return;
    find(wanted.mac)->indexed = false;
    const Row* held = wanted.indexed ? holder(wanted.vlan, wanted.address) : nullptr;
    if (held != nullptr && newcomer_displaces) erase(held->mac);
    if (held != nullptr && !newcomer_displaces) wanted.indexed = false;
    *find(wanted.mac) = wanted;
  }
  void erase(Mac mac) {
    std::erase_if(rows, [&](const Row& r) { return r.mac == mac; });
  }
  void age(uint32_t now) {
    std::erase_if(rows, [&](const Row& r) {
      const auto age = static_cast<int64_t>(now) - r.time;
      return r.bound ? !r.fixed && r.lease < age : age >= 31;
    });
  }
};

/// A bound entry as a configuration or a server's answer leaves it.
template <class Family>
void bind_as(const Twin::Row& row) {
  auto* entry = Family::find(row.mac, true);
  if (entry == nullptr) return;
  Family::leave(*entry);
  entry->state = 1;
  entry->vlan = entry->new_vlan = row.vlan;
  entry->intf = entry->new_intf = row.intf;
  entry->is_static = row.fixed ? 1 : 0;
  entry->lease = row.lease;
  entry->time = static_cast<int32_t>(row.time);
  Family::enter(*entry, row.address);
}

template <class Family>
void compare_with_twin(void (*expect_whole)()) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto pick = [&](uint32_t below) { return static_cast<uint32_t>(random() % below); };
  Twin twin;
  for (int step = 0; step < 20000 && !testing::Test::HasFailure(); ++step) {
    const Mac mac = mac_number(pick(320));
    const uint32_t now = device().now, what = pick(100);
    if (what < 25) {
      auto* made = Family::find(mac, true);
      Twin::Row* row = twin.create(mac);
      ASSERT_EQ(made != nullptr, row != nullptr) << "step " << step;
      if (made != nullptr && made->state == 0) made->time = static_cast<int32_t>(row->time = now);
    } else if (what < 65) {
      Twin::Row row{mac,         pick(4) == 0 ? 0 : pick(300),
                    3 + pick(3), static_cast<int>(pick(3) * 10),
                    600,         pick(8) == 0,
                    true,        false,
                    now};
      row.indexed = Family::indexed(row.vlan, row.address);
      bind_as<Family>(row);
      twin.bind(row, Family::newcomer_displaces);
    } else if (what < 80) {
      if (auto* found = Family::find(mac, false)) Family::erase(*found);
      twin.erase(mac);
    } else if (what < 97) {
      const int vlan = static_cast<int>(pick(3) * 10);
      const uint32_t wanted = pick(300);
      const auto* found = Family::holder(vlan, wanted);
      const Twin::Row* row = twin.holder(vlan, wanted);
      ASSERT_EQ(found != nullptr, row != nullptr) << "step " << step;
      ASSERT_TRUE(found == nullptr || std::equal(row->mac.begin(), row->mac.end(), found->mac)) << "step " << step;
    } else {
      device().now += pick(200);
      Family::age();
      twin.age(device().now);
    }
    ASSERT_EQ(Family::config.bind_count, static_cast<int32_t>(twin.rows.size())) << "step " << step;
    if (step % 500 == 0) expect_whole();
  }
  for (const Twin::Row& row : twin.rows) {
    const auto* found = Family::find(row.mac, false);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->vlan, row.vlan);
    EXPECT_EQ(dhcp::base::list_linked(found->ip_link), row.indexed);
  }
}

}  // namespace bench
