/// How helpers' MACs are learnt, kept and lost; the ARP toolkit beneath; and all of it while frames flow.
#include <thread>

#include "base/os.h"
#include "dhcp/arp.h"
#include "dhcp/module.h"
#include "module/module.h"
#include "tests/unit/relay_bench.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::ip;
using bench::Mac;
using testing::ElementsAre;

class RelayProbe : public bench::RelayBench {
 protected:
  static size_t asked() { return device().arp_requests().size(); }
};

TEST_F(RelayProbe, NextHopIsSearchedInTheDevicesOrder) {
  struct Hop {
    uint32_t ip, mask, gateway;
  };
  constexpr uint32_t mask = 0xffffff00;
  const Hop here{relay_ip, mask, 0}, other{client_gateway, mask, 0}, gated{client_gateway, mask, ip(10, 10, 0, 254)},
      none{0, 0, 0};
  const struct {
    std::vector<Hop> vlans;  // 101, 102, ...
    int result;
    uint32_t vlan;
    std::string asked;
  } rows[] = {
      {{}, -2, 0, ""},
      {{here}, 0, 101, "eth0.101 10.20.0.5"},
      {{other, here}, 0, 102, "eth0.102 10.20.0.5"},
      {{gated, here}, 1, 101, "eth0.101 10.10.0.254"},  // the first gateway wins over a later match
      {{other, none, here}, -2, 0, ""},
      {{other, other, other, other, other, other, other, here}, 0, 108, "eth0.108 10.20.0.5"},
      {{other, other, other, other, other, other, other, other, here}, -2, 0, ""},
  };
  for (const auto& row : rows) {
    device().vlan_interfaces.clear();
    device().layer3_vlans = {100};  // has no layer-3 information, and yet is one of the eight
    if (row.vlans.size() > 7) device().layer3_vlans.clear();
    for (const Hop& hop : row.vlans) {
      const auto vlan = static_cast<uint16_t>(101 + device().vlan_interfaces.size());
      device().vlan_interfaces[vlan] = {.ip = hop.ip, .mac = own_mac, .mask = hop.mask, .gateway = hop.gateway};
      if (!device().layer3_vlans.empty()) device().layer3_vlans.push_back(vlan);
    }
    const size_t before = asked();
    uint8_t mac[6] = {};
    uint32_t vlan = 0;
    EXPECT_EQ(DHCPR_get_server_mac(server_ip, mac, &vlan, 1), row.result);
    EXPECT_EQ(vlan, row.vlan);
    EXPECT_EQ(asked() > before ? device().arp_requests().back() : "", row.asked);
    if (row.result == 0) {
      EXPECT_THAT(mac, testing::ElementsAreArray(server_mac));
    }
  }
}

TEST_F(RelayProbe, SilentHelperIsTriedSixTimesAndLeftAloneFiveTimes) {
  DHCPR_start(2);
  device().arp_hosts.clear();
  ASSERT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), 0);
  std::string pattern;
  for (int round = 0; round < 24; ++round) {
    const size_t before = asked();
    EXPECT_EQ(dhcpr_dhcp_server_mac_probe(), 0);
    pattern += asked() > before ? '!' : '.';
  }
  EXPECT_EQ(pattern, "!!!!!!.....!!!!!!.....!!");
  EXPECT_EQ(DHCPR_set_dhcp_serverip(1, other_server), 0) << "a new helper ends the rest";
  device().arp_hosts[server_ip] = server_mac;
  at(60);
  dhcpr_dhcp_server_mac_probe();
  EXPECT_TRUE(helper(server_ip).valid == 1 && helper(server_ip).probe == 0);
  at(70);
  EXPECT_EQ(helper(server_ip).age, 10u);
  EXPECT_EQ(is_need_dhcp_server_probe(), 1) << "the other one";
}

TEST_F(RelayProbe, AgedMacIsLearntAnewOrLost) {
  start_routing();
  const auto after = [this](uint32_t seconds) {
    at(seconds);
    const size_t before = asked();
    dhcpr_dhcp_server_mac_probe();
    return asked() - before;
  };
  EXPECT_EQ(after(300), 0u);
  device().arp_hosts[server_ip] = other_mac;
  EXPECT_EQ(after(301), 1u);
  EXPECT_THAT(helper(server_ip).mac, testing::ElementsAreArray(other_mac));
  EXPECT_EQ(after(601), 0u) << "its time began anew";
  device().arp_hosts.clear();
  EXPECT_EQ(after(602), 2u) << "found silent, and probed in the same round";
  EXPECT_TRUE(helper(server_ip).valid == 0 && helper(server_ip).probe == 1);
  EXPECT_THAT(helper(server_ip).mac, testing::Each(0));
  EXPECT_EQ(after(100), 1u) << "the clock set back";
}

/// 10.20.0.1 on "eth0.20" asks for 10.20.0.5.
class Arp : public bench::DeviceBench {
 protected:
  static constexpr uint32_t own_ip = ip(10, 20, 0, 1), asked_ip = ip(10, 20, 0, 5);
  static constexpr Mac own_mac{2, 0, 0, 0, 0, 9};

  void SetUp() override {
    DeviceBench::SetUp();
    device().vlan_interfaces[20] = {.ip = own_ip, .mac = own_mac};
    reply[27] = 2;
    const Bytes who{2, 0xbb, 0, 0, 0, 5, 10, 20, 0, 5, 2, 0, 0, 0, 0, 9};
    std::copy(who.begin(), who.end(), reply.begin() + 28);
  }
  Bytes reply = Bytes(44);
  uint8_t mac[6] = {};
};

/// Frames that are almost the reply, each with one byte that is not.
TEST_F(Arp, ReplyIsRecognisedSixBytesLateAndByEveryField) {
  const ArpIfInfo sender{.name = "eth0.20", .ip = own_ip, .zero = {}, .mac = {2, 0, 0, 0, 0, 9}, .zero2 = {}};
  device().on_arp = [this](const Bytes&) { return std::vector<Bytes>{reply}; };
  EXPECT_EQ(getmac(asked_ip, &sender, 1, mac), 0);
  EXPECT_THAT(mac, ElementsAre(2, 0xbb, 0, 0, 0, 5));
  for (int wrong = -2; wrong < static_cast<int>(reply.size()); ++wrong) {
    Bytes frame = reply;
    if (wrong == -2) frame.pop_back();
    if (wrong >= 0) frame[static_cast<size_t>(wrong)] ^= 0x10;
    device().on_arp = [&frame](const Bytes&) { return std::vector<Bytes>{Bytes(30, 2), frame}; };
    const bool looked_at = wrong == -2 || wrong == 26 || wrong == 27 || wrong >= 34;
    EXPECT_EQ(getmac(asked_ip, &sender, 1, mac), looked_at ? 1 : 0) << "byte " << wrong;
    EXPECT_EQ(arpCheck(asked_ip, &sender, 1), looked_at ? 1 : 0);
  }
}

TEST_F(Arp, RequestIsSentByteForByteAndFailuresAreTold) {
  Bytes request;
  device().on_arp = [&request](const Bytes& sent) { return request = sent, std::vector<Bytes>{}; };
  EXPECT_EQ(get_ip_mac("eth0.20", asked_ip, mac, 0), 1) << "no time to wait, and sent all the same";
  Bytes expected{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 2, 0,  0,  0, 0, 9, 8, 6, 0, 1, 8, 0,  6,  4, 0,
                 1,    2,    0,    0,    0,    0,    9, 10, 20, 0, 1, 0, 0, 0, 0, 0, 0, 10, 20, 0, 5};
  expected.resize(60);
  EXPECT_EQ(request, expected);
  device().arp_cannot_be_sent = true;
  EXPECT_EQ(get_ip_mac("eth0.20", asked_ip, mac, 1), -1);
  EXPECT_EQ(device().logged_at(" send arp failed!\n", "dhcp_relay"), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(__arpping(asked_ip, "eth0.21"), 0) << "an error is no free address";
  dumppacket(expected.data(), 17);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "eth0.21: failed to get IF hw address!\n[017] DUMP PACKET ----------- BGN\n"
            "(000) FF FF FF FF FF FF 02 00   00 00 00 09 08 06 00 01 \n(010) 08 \n[017] DUMP PACKET ----------- END\n");
  device().sockets_cannot_be_made = true;
  EXPECT_EQ(get_ip_mac("eth0.20", asked_ip, mac, 1), -1);
}

/// Strangers' frames use the time up, second by second of the injected clock; then the reply is too late.
TEST_F(Arp, TimeIsCountedByTheClock) {
  dhcp::base::os.now = [] { return device().now++; };
  for (const size_t strangers : {0u, 1u, 2u, 3u}) {
    device().on_arp = [&](const Bytes&) {
      std::vector<Bytes> frames(strangers, Bytes(60, 9));
      frames.push_back(reply);
      return frames;
    };
    EXPECT_EQ(__arpping(asked_ip, "eth0.20"), strangers < 2 ? 0 : 1) << strangers;
  }
  EXPECT_EQ(device().logged_at("No valid arp replies for this address", "dhcpc"), 2);
}

std::string trace_command, trace_output;

TEST_F(RelayProbe, TraceIsJudgedByItsLines) {
  dhcp::base::os.run = [](const char* command) {
    trace_command = command;
    FILE* file = fopen(strrchr(command, ' ') + 1, "w");
    fputs(trace_output.c_str(), file);
    fclose(file);
    return 0;
  };
  const std::string head = "traceroute to 10.20.0.5 (10.20.0.5), 2 hops max, 60 byte packets\n";
  const struct {
    std::string output;
    int reached;
  } rows[] = {
      {head + " 1  10.20.0.5 (10.20.0.5)  0.512 ms  0.480 ms  0.471 ms\n", 1},
      {head + " 1  10.10.0.1 (10.10.0.1)  0.5 ms  0.4 ms  0.4 ms\n 2  10.20.0.5 (10.20.0.5)  1.1 ms  1.0 ms  1.0 ms\n",
       1},
      {head + " 1  * * *\n 2  * * *\n", 0},
      {head + " 1  10.10.0.1 (10.10.0.1)  3006.4 ms !H  3006.3 ms !H  3006.3 ms !H\n", 0},
      {"", 1},
  };
  for (const auto& row : rows) {
    trace_output = row.output;
    EXPECT_EQ(check_ip_valid_by_trace(client_gateway, 0, server_ip), row.reached) << row.output;
  }
  const std::string path = trace_command.substr(trace_command.rfind(' ') + 1);
  EXPECT_EQ(trace_command, "traceroute -s 10.10.0.1 10.20.0.5 -w 2 -m 2  > " + path);
  EXPECT_EQ(access(path.c_str(), F_OK), -1) << "nothing is left of it";
}

/// The host adds and removes helpers and changes the switches while the probe runs and exchanges flow.
TEST_F(RelayProbe, ChangesWhileFramesFlow) {
  delete[] std::exchange(dhcpr_cfg.send_buf, nullptr);
  testing::internal::CaptureStdout();
  ASSERT_EQ(dhcp_module_init(), 0);
  start_routing();
  ASSERT_EQ(dhcp_module_start(), 0);
  std::vector<wire::Received> frames;
  for (uint32_t n = 0; n < 300; ++n) {
    frames.emplace_back(wire::Message(wire::DISCOVER, bench::mac_number(n)).frame(), port, 1600);
    frames.emplace_back(from_server(wire::OFFER)
                            .at(28, {0, 0x10, 0x20, 0x30, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)})
                            .frame(),
                        uplink);
  }
  std::thread prober([] {
    for (int round = 0; round < 20; ++round) dhcpr_dhcp_server_mac_probe();
  });
  for (size_t i = 0; i < frames.size(); ++i) {
    device().post({.p = 0, .i = 0, .type = 1, .unused = {}, .len = 0, .data = frames[i].skp()});
    if (i % 20 != 0) continue;
    DHCPR_set_dhcp_serverip(static_cast<int>(i / 20 % 2), ip(10, 20, 0, 6) + static_cast<uint32_t>(i % 3));
    DHCPR_set_dhcp_serverip(static_cast<int>(i / 40 % 2), server_ip);
    DHCPR_set_trust(static_cast<int>(i / 20 % 2));
    device().now += 100;
    (void)met(DHCPR_UNTAGGED);
    DhcpRelayHelper all[DHCPR_MAX_HELPERS];
    dhcp_relay_get_helpers(all, DHCPR_MAX_HELPERS);
  }
  while (device().released_count() < frames.size()) sched_yield();
  prober.join();
  dhcp_module_stop();
  testing::internal::GetCapturedStdout();
  uint32_t met_at_all = 0;
  for (int verdict = 0; verdict < DHCPR_VERDICTS; ++verdict) met_at_all += met(static_cast<DhcpRelayVerdict>(verdict));
  EXPECT_EQ(met_at_all, frames.size()) << "one fate a frame";
  device().take_sent();
}

}  // namespace
