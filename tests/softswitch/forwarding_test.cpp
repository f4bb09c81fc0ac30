#include <gmock/gmock.h>

#include <map>
#include <random>

#include "softswitch/bridge.h"

namespace dhcp::softswitch::test {
namespace {

using testing::ElementsAre;
using Address = std::array<uint8_t, 6>;

constexpr Address cpu = {0x02, 0, 0, 0, 0, 0x01}, everybody = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
Address host(uint32_t n) { return {0x02, 0x10, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)}; }

/// Ports 1 and 2 in VLAN 10, port 3 in VLAN 20, port 4 a trunk of 10 and 20 with native VLAN 20, port 5 one of all.
struct ForwardingTest : testing::Test {
  Bridge bridge;
  ForwardingTest() {
    bridge.cpu_mac = cpu;
    for (const uint16_t vlan : {uint16_t{10}, uint16_t{20}}) bridge.vlans.create(vlan);
    bridge.cpu_vlans.set(10);
    bridge.vlans.set_port(1, PortMode::access, 10, 1, {});
    bridge.vlans.set_port(2, PortMode::access, 10, 1, {});
    bridge.vlans.set_port(3, PortMode::access, 20, 1, {});
    bridge.vlans.set_port(4, PortMode::trunk, 1, 20, {10, 20});
    bridge.vlans.set_port(5, PortMode::trunk, 1, 1, {});
    for (uint32_t port = 6; port <= most_ports; ++port) bridge.vlans.set_port(port, PortMode::access, 1, 1, {});
  }
  Decision decide(uint16_t vlan, const Address& to, uint32_t ingress) {
    return bridge.decide(vlan, to.data(), ingress);
  }
};

TEST_F(ForwardingTest, ClassifiesByPortAndTag) {
  const VlanMap& vlans = bridge.vlans;
  const auto none = std::optional<uint16_t>();
  EXPECT_EQ(vlans.classify(1, none), 10);
  EXPECT_EQ(vlans.classify(1, 0), 10) << "a priority tag names no VLAN";
  EXPECT_EQ(vlans.classify(1, 10), 10);
  EXPECT_EQ(vlans.classify(1, 20), none) << "hopping from an access port";
  EXPECT_EQ(vlans.classify(4, none), 20);
  EXPECT_EQ(vlans.classify(4, 10), 10);
  EXPECT_EQ(vlans.classify(4, 1), none) << "not on the list";
  EXPECT_EQ(vlans.classify(5, 30), none) << "a trunk of all carries VLANs that there are";
  EXPECT_EQ(vlans.classify(5, 4095), none);
  EXPECT_TRUE(vlans.leaves_tagged(4, 10) && vlans.leaves_tagged(5, 20));
  EXPECT_FALSE(vlans.leaves_tagged(1, 10) || vlans.leaves_tagged(4, 20)) << "the native VLAN";
  bridge.vlans.create(30);
  EXPECT_EQ(vlans.classify(5, 30), 30);
  EXPECT_EQ(vlans.classify(4, 30), none);
  bridge.vlans.set_port(4, PortMode::trunk, 1, 99, {10});
  EXPECT_EQ(vlans.classify(4, none), none) << "the native VLAN must be on the list, too";
}

TEST_F(ForwardingTest, FloodsInsideTheVlanOnly) {
  EXPECT_EQ(decide(10, everybody, 1).ports, port_bit(2) | port_bit(4) | port_bit(5));
  EXPECT_TRUE(decide(10, everybody, 1).cpu);
  EXPECT_EQ(decide(10, host(9), 1).ports, port_bit(2) | port_bit(4) | port_bit(5));
  EXPECT_FALSE(decide(10, host(9), 1).cpu) << "an unknown host is not the CPU";
  EXPECT_EQ(decide(20, everybody, 4).ports, port_bit(3) | port_bit(5));
  EXPECT_FALSE(decide(20, everybody, 4).cpu) << "no interface in VLAN 20";
  EXPECT_EQ(decide(10, everybody, 0).ports, port_bit(1) | port_bit(2) | port_bit(4) | port_bit(5));
  EXPECT_FALSE(decide(10, everybody, 0).cpu) << "back to the sender";
  EXPECT_EQ(decide(30, everybody, 1).ports, 0u);
  EXPECT_EQ(decide(10, cpu, 1).ports, 0u);
  EXPECT_TRUE(decide(10, cpu, 1).cpu);
  EXPECT_FALSE(decide(20, cpu, 3).cpu);
}

TEST_F(ForwardingTest, KnownUnicastGoesOneWayAndNeverBack) {
  bridge.macs.learn(10, host(7).data(), 2, 0);
  EXPECT_EQ(decide(10, host(7), 1).ports, port_bit(2));
  EXPECT_EQ(decide(10, host(7), 2).ports, 0u) << "it is on that segment already";
  EXPECT_EQ(decide(20, host(7), 3).ports, port_bit(4) | port_bit(5)) << "known in another VLAN only";
  bridge.macs.learn(10, host(7).data(), 4, 1);
  EXPECT_EQ(decide(10, host(7), 1).ports, port_bit(4)) << "it moved";
  bridge.macs.learn(10, host(8).data(), 3, 1);
  EXPECT_EQ(decide(10, host(8), 1).ports, 0u) << "its port has left the VLAN";
}

TEST_F(ForwardingTest, TakesNoFrameThatABridgeMustNotCarry) {
  const auto acceptable = [&](Address to, Address from) {
    uint8_t frame[14] = {};
    std::copy(to.begin(), to.end(), frame);
    std::copy(from.begin(), from.end(), frame + 6);
    return bridge.acceptable(frame);
  };
  EXPECT_TRUE(acceptable(everybody, host(1)));
  EXPECT_FALSE(acceptable(host(1), cpu)) << "somebody poses as the switch";
  EXPECT_FALSE(acceptable(host(1), everybody));
  EXPECT_FALSE(acceptable({0x01, 0x80, 0xc2, 0, 0, 0x0e}, host(1))) << "LLDP is for the next bridge";
  EXPECT_TRUE(acceptable({0x01, 0x80, 0xc2, 0, 0, 0x10}, host(1)));
}

TEST_F(ForwardingTest, ARemovedVlanCarriesNothingUntilItIsBack) {
  ASSERT_TRUE(bridge.vlans.remove(10));
  EXPECT_EQ(bridge.vlans.classify(1, {}), std::optional<uint16_t>());
  EXPECT_EQ(decide(10, everybody, 1).ports, 0u);
  EXPECT_THAT(bridge.vlans.list(), ElementsAre(1, 20));
  ASSERT_TRUE(bridge.vlans.create(10));
  EXPECT_FALSE(bridge.vlans.create(10));
  EXPECT_EQ(decide(10, everybody, 1).ports, port_bit(2) | port_bit(4) | port_bit(5));
  EXPECT_FALSE(bridge.vlans.create(0));
  EXPECT_FALSE(bridge.vlans.create(4095));
}

TEST(MacTable, AgesByLastSightAndKeepsVlansApart) {
  MacTable table;
  table.learn(10, host(1).data(), 1, 100);
  table.learn(20, host(1).data(), 2, 100);
  table.learn(10, host(2).data(), 3, 150);
  table.learn(10, host(1).data(), 1, 160);
  table.expire(400, 0);
  EXPECT_EQ(table.rows().size(), 3u) << "0 = never";
  table.expire(400, 300);
  EXPECT_EQ(table.find(20, host(1).data()), 0u);
  EXPECT_EQ(table.find(10, host(1).data()), 1u);
  table.forget_intf(3);
  EXPECT_EQ(table.find(10, host(2).data()), 0u);
  table.forget_vlan(10);
  EXPECT_TRUE(table.rows().empty());
}

TEST(MacTable, UnderRandomTrafficAgreesWithAPlainMapWhileThereIsRoom) {
  MacTable table;
  std::map<std::pair<uint16_t, Address>, uint32_t> plain;
  std::mt19937 engine(20);
  const auto random = [&] { return static_cast<uint32_t>(engine()); };
  for (uint32_t now = 0; now < 20000; ++now) {
    const auto vlan = static_cast<uint16_t>(1 + random() % 4);
    const Address mac = host(random() % 250);
    const uint32_t port = 1 + random() % 26;
    table.learn(vlan, mac.data(), port, now);
    plain[{vlan, mac}] = port;
    const Address asked = host(random() % 260);
    const auto known = plain.find({vlan, asked});
    ASSERT_EQ(table.find(vlan, asked.data()), known == plain.end() ? 0 : known->second);
  }
  EXPECT_EQ(table.rows().size(), plain.size());
}

TEST(MacTable, WhenFullItForgetsTheOldestNotTheNewest) {
  MacTable table;
  for (uint32_t n = 0; n < 60000; ++n) {
    table.learn(1, host(n).data(), 1, n);
    ASSERT_EQ(table.find(1, host(n).data()), 1u) << n;
  }
  EXPECT_LE(table.rows().size(), 16384u);
  EXPECT_EQ(table.find(1, host(0).data()), 0u);
}

}  // namespace
}  // namespace dhcp::softswitch::test
