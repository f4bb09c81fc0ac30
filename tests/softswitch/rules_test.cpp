#include <gmock/gmock.h>

#include <array>
#include <utility>
#include <vector>

#include "softswitch/field_processor.h"
#include "softswitch/rate_limit.h"

namespace dhcp::softswitch::test {
namespace {

using Way = Verdict::Way;

/// A rule as the module installs it: ports by bitmap, UDP destination port, actions.
adp_fp_entity rule(std::array<uint32_t, 8> ports, uint16_t udp_port, std::vector<std::pair<int, uint32_t>> actions) {
  adp_fp_entity entity{};
  for (const auto& [code, value] : actions) adp_fp_add_entity_action(&entity, code, value);
  adp_fp_add_entity_qualify(&entity, 13, ports.data(), nullptr, sizeof ports);
  adp_fp_add_entity_qualify(&entity, 28, &udp_port, nullptr, sizeof udp_port);
  return entity;
}
const std::array<uint32_t, 8> every_port = {0xFFFFFFFE, 0xFFFFFFFF};
const std::vector<std::pair<int, uint32_t>> to_cpu = {{30, 0}, {2, 2}};

TEST(FieldProcessor, TrapsByPortAndUdpDestination) {
  FieldProcessor chip;
  ASSERT_TRUE(chip.install(10, 1, rule(every_port, 68, to_cpu)));
  ASSERT_TRUE(chip.install(10, 0, rule(every_port, 67, to_cpu)));
  for (const uint32_t port : {1u, 31u, 32u, 63u}) {
    EXPECT_EQ(chip.match(port, 67).way, Way::redirect) << port;
    EXPECT_EQ(chip.match(port, 67).queue, 2u);
    EXPECT_EQ(chip.match(port, 68).way, Way::redirect) << port;
    EXPECT_EQ(chip.match(port, 69).way, Way::forward) << port;
    EXPECT_EQ(chip.match(port, 0).way, Way::forward) << "not UDP";
  }
  EXPECT_EQ(chip.match(0, 67).way, Way::forward) << "what the CPU sends is not trapped";
  EXPECT_EQ(chip.match(64, 67).way, Way::forward);
  EXPECT_EQ(chip.match(100000, 67).way, Way::forward);
}

TEST(FieldProcessor, ServersOnUntrustedPortsAreDroppedBeforeTheyAreTrapped) {
  FieldProcessor chip;
  std::array<uint32_t, 8> untrusted = {0x0000000E};  // ports 1 to 3
  ASSERT_TRUE(chip.install(11, 2, rule(untrusted, 546, {{40, 0}})));
  ASSERT_TRUE(chip.install(11, 0, rule(every_port, 547, to_cpu)));
  ASSERT_TRUE(chip.install(11, 1, rule(every_port, 546, to_cpu)));
  chip.count(chip.match(3, 546));
  EXPECT_EQ(chip.match(3, 546).way, Way::drop);
  EXPECT_EQ(chip.hits(11, 2), 1u);
  EXPECT_EQ(chip.hits(11, 0), 0u);
  EXPECT_EQ(chip.match(4, 546).way, Way::redirect);
  EXPECT_EQ(chip.match(3, 547).way, Way::redirect);

  ASSERT_TRUE(chip.install(9, 7, rule(every_port, 547, {{40, 0}})));
  EXPECT_EQ(chip.match(3, 547).way, Way::drop) << "among groups a drop wins";
  ASSERT_TRUE(chip.remove(9, 7));
  ASSERT_TRUE(chip.install(11, 3, rule(every_port, 546, to_cpu)));
  EXPECT_EQ(chip.match(3, 546).way, Way::redirect) << "inside a group the higher number wins";
}

TEST(FieldProcessor, ReplacesRemovesAndRefusesWithoutSideEffects) {
  FieldProcessor chip;
  ASSERT_TRUE(chip.install(10, 1, rule(every_port, 68, to_cpu)));
  ASSERT_TRUE(chip.install(10, 1, rule(every_port, 67, to_cpu)));
  EXPECT_EQ(chip.match(1, 68).way, Way::forward) << "the old rule is gone";
  EXPECT_EQ(chip.rules().size(), 1u);

  adp_fp_entity unknown = rule(every_port, 67, {{31, 0}});
  EXPECT_FALSE(chip.install(10, 1, unknown)) << "an action that the chip does not know";
  adp_fp_entity strange = rule(every_port, 67, to_cpu);
  adp_fp_add_entity_qualify(&strange, 14, "x", nullptr, 1);
  EXPECT_FALSE(chip.install(10, 1, strange));
  EXPECT_FALSE(chip.install(10, 1, adp_fp_entity{})) << "a rule that does nothing";
  EXPECT_EQ(chip.match(1, 67).way, Way::redirect) << "what was refused changed nothing";

  EXPECT_TRUE(chip.remove(10, 1));
  EXPECT_FALSE(chip.remove(10, 1));
  EXPECT_EQ(chip.match(1, 67).way, Way::forward);
}

TEST(FieldProcessor, EntitiesTakeFourOfEachAndNoMore) {
  adp_fp_entity entity{};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(adp_fp_add_entity_action(&entity, 2, 0), 0);
  EXPECT_LT(adp_fp_add_entity_action(&entity, 2, 0), 0);
  const uint8_t data[33] = {};
  EXPECT_LT(adp_fp_add_entity_qualify(&entity, 13, data, nullptr, 33), 0);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(adp_fp_add_entity_qualify(&entity, 13, data, nullptr, 32), 0);
  EXPECT_LT(adp_fp_add_entity_qualify(&entity, 13, data, nullptr, 32), 0);
}

int admitted(RateLimit& limit, uint32_t queue, uint64_t now_ms, int frames) {
  int passed = 0;
  for (int i = 0; i < frames; ++i) passed += limit.admit(queue, now_ms) ? 1 : 0;
  return passed;
}

TEST(RateLimit, LetsOneSecondThroughAtOnceAndThenTheRate) {
  RateLimit limit;
  EXPECT_EQ(admitted(limit, 2, 5, 1000), 1000) << "no limit set";
  ASSERT_TRUE(limit.set(2, 100));
  EXPECT_EQ(admitted(limit, 2, 1000, 500), 100);
  EXPECT_EQ(limit.refused(), 400u);
  EXPECT_EQ(admitted(limit, 2, 1250, 500), 25);
  EXPECT_EQ(admitted(limit, 2, 1251, 500), 0) << "a tenth of a frame is none";
  EXPECT_EQ(admitted(limit, 2, 1260, 500), 1) << "but it is not forgotten";
  EXPECT_EQ(admitted(limit, 2, 3600000, 500), 100) << "an idle hour does not save up";
  EXPECT_EQ(admitted(limit, 1, 3600000, 500), 500) << "the other queues are free";
  ASSERT_TRUE(limit.set(2, 0));
  EXPECT_EQ(admitted(limit, 2, 3600000, 500), 500);
  EXPECT_FALSE(limit.set(cpu_queues, 1));
}

}  // namespace
}  // namespace dhcp::softswitch::test
