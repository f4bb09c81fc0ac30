/// The device's own MAC as the dispatcher reads it: never an older one than the interface has.
#include "module/own_mac.h"

#include "tests/unit/bench.h"

namespace bench {
namespace {

using dhcp::base::MacAddress;
using dhcp::module::read_own_mac;

class OwnMac : public ServerBench {
 protected:
  void TearDown() override {
    dhcp::module::close_own_mac_query();
    ServerBench::TearDown();
  }
};

TEST_F(OwnMac, IsAskedAnewForEveryFrameAndAfterTheQueryWasClosed) {
  EXPECT_EQ(read_own_mac("eth0.10"), MacAddress::from(own_mac.data()));
  device().vlan_interfaces[10].mac[5] = 0x77;
  ASSERT_TRUE(read_own_mac("eth0.10"));
  EXPECT_EQ(read_own_mac("eth0.10")->bytes[5], 0x77);
  device().interfaces_without_answer = {"eth0.10"};
  EXPECT_FALSE(read_own_mac("eth0.10")) << "not the last answer, nor zeros";
  device().interfaces_without_answer.clear();
  dhcp::module::close_own_mac_query();
  EXPECT_TRUE(read_own_mac("eth0.10"));
}

}  // namespace
}  // namespace bench
