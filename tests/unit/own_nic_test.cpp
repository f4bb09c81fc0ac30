/// The device's own address and MAC as frames need them: never older than the interface's.
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

}  // namespace
}  // namespace bench
