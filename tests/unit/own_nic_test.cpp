/// The device's own address and MAC as frames need them: what the interface has, or had a moment ago.
#include "packet/nic.h"

#include "tests/unit/bench.h"

namespace bench {
namespace {

using dhcp::base::MacAddress;
using dhcp::packet::close_own_nic;

class OwnNic : public ServerBench {};

TEST_F(OwnNic, IsAskedAnewForEveryFrameAndAfterTheQueryWasClosed) {
  EXPECT_EQ(dhcp::packet::own_mac("eth0.10"), MacAddress::from(own_mac.data()));
  device().vlan_interfaces[10].mac[5] = 0x77;
  device().vlan_interfaces[10].ip = ip(10, 1, 2, 3);
  ASSERT_TRUE(dhcp::packet::own_mac("eth0.10"));
  EXPECT_EQ(dhcp::packet::own_mac("eth0.10")->bytes[5], 0x77);
  uint32_t address = 0;
  EXPECT_EQ(dhcp_get_nic_addr(10, &address, nullptr), 0);
  EXPECT_EQ(address, ip(10, 1, 2, 3));

  device().interfaces_without_answer = {"eth0.10"};
  EXPECT_FALSE(dhcp::packet::own_mac("eth0.10")) << "not the last answer, nor zeros";
  EXPECT_EQ(dhcp_get_nic_addr(10, &address, nullptr), -1);
  EXPECT_EQ(address, 0u);
  device().interfaces_without_answer.clear();
  close_own_nic();
  EXPECT_TRUE(dhcp::packet::own_mac("eth0.10"));
}

TEST_F(OwnNic, OneAnswerServesABurstAndNoLonger) {
  const auto address_of = [](int vlan) {
    uint32_t address = 0;
    EXPECT_EQ(dhcp_get_nic_addr(vlan, &address, nullptr), 0);
    return address;
  };
  device().vlan_interfaces[11] = {ip(11, 0, 0, 1), own_mac};
  const uint32_t first = address_of(10), second = first + 1;
  device().ticks_a_look_us = 0;
  EXPECT_EQ(address_of(10), first);
  device().vlan_interfaces[10].ip = second;
  EXPECT_EQ(address_of(10), first) << "of the same burst";
  EXPECT_EQ(address_of(11), ip(11, 0, 0, 1)) << "not another interface's";
  EXPECT_EQ(address_of(10), second) << "which has taken its place";

  device().vlan_interfaces[10] = {first, Mac{2, 0, 0, 0, 0, 0x77}};
  EXPECT_EQ(dhcp::packet::own_mac("eth0.10")->bytes[5], 0x77) << "only the address was known";
  device().ticks_a_look_us = static_cast<uint32_t>(dhcp::packet::own_nic_serves_us);
  EXPECT_EQ(address_of(10), first);
  device().vlan_interfaces[10].ip = second;
  EXPECT_EQ(address_of(10), second) << "asked again";
}

}  // namespace
}  // namespace bench
