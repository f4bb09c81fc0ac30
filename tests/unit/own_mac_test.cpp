/// The device's own MAC as the dispatcher reads it: never an older one than the interface has.
#include "module/own_mac.h"

#include <cstdio>

#include "dhcp/relay.h"
#include "tests/unit/bench.h"

namespace {

using bench::device;
using dhcp::base::MacAddress;
using dhcp::module::read_own_mac;

class OwnMac : public bench::ServerBench {
 protected:
  void SetUp() override {
    ServerBench::SetUp();
    snprintf(dhcpr_cfg.ifname, sizeof dhcpr_cfg.ifname, "eth0.10");
  }
  void TearDown() override {
    dhcp::module::close_own_mac_query();
    snprintf(dhcpr_cfg.ifname, sizeof dhcpr_cfg.ifname, "eth0");
    ServerBench::TearDown();
  }
};

TEST_F(OwnMac, IsAskedAnewForEveryFrame) {
  EXPECT_EQ(read_own_mac(), MacAddress::from(own_mac.data()));
  device().vlan_interfaces[10].mac[5] = 0x77;
  ASSERT_TRUE(read_own_mac());
  EXPECT_EQ(read_own_mac()->bytes[5], 0x77);
  device().interfaces_without_answer = {"eth0.10"};
  EXPECT_FALSE(read_own_mac()) << "not the last answer, nor zeros";
  device().interfaces_without_answer.clear();
  EXPECT_TRUE(read_own_mac());
}

TEST_F(OwnMac, IsReadAgainAfterTheQueryWasClosed) {
  EXPECT_TRUE(read_own_mac());
  dhcp::module::close_own_mac_query();
  EXPECT_EQ(read_own_mac(), MacAddress::from(own_mac.data()));
}

}  // namespace
