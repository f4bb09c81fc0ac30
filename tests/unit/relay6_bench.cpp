#include "tests/unit/relay6_bench.h"

#include "platform/text.h"

namespace bench {

void Relay6Bench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  for (const uint32_t vlan : {10u, 11u, 20u}) {
    const auto mac = mac_number(vlan);
    device().vlan_interfaces[vlan] = {.mac = mac, .ip6 = "2001:db8:" + std::to_string(vlan) + "::1", .prefix6 = 64};
    device().mac_table[{client_mac, vlan}] = client_port;
  }
  dhcp6_relay_clear_counters();
  init_dhcp6_relay_cfg();
}

void Relay6Bench::TearDown() {
  fake::fail_allocations(0);
  exit_dhcp6_relay_cfg();
  EXPECT_EQ(gDhcp6Relay.info_count.load(), 0);
  for (const Dhcp6InfoNode& slot : gDhcp6Relay.info_table) EXPECT_TRUE(slot.valid == 0 && slot.link == nullptr);
  EXPECT_EQ(gDhcp6Relay.server_count, 0);
  EXPECT_EQ(gDhcp6Relay.server_busy.load() + gDhcp6Relay.port_users.load(), 0u);
  EXPECT_TRUE(device().take_sent().empty());
}

void Relay6Bench::answers(const char* address, const Mac& mac, uint32_t vlan) {
  device().neighbours6[ip6(address)] = mac;
  device().mac_table[{mac, vlan}] = server_port;
}

std::vector<Dhcp6RelayDestination> Relay6Bench::listed() {
  std::vector<Dhcp6RelayDestination> all(DHCP6_RELAY_MAX_DESTINATIONS + 1);
  all.resize(dhcp6_relay_get_destinations(all.data(), all.size()));
  return all;
}

std::vector<std::string> Relay6Bench::states() {
  std::vector<std::string> states;
  for (const Dhcp6RelayDestination& one : listed()) {
    char mac[18];
    states.push_back(dhcp6_relay_state_name(one.state) + std::string(" ") + onu_mac2str(one.mac, mac) + " " +
                     std::to_string(one.vlan));
  }
  return states;
}

int Relay6Bench::receive(const Message6& message) {
  wire::Received received(message.frame(), client_port);
  return receive(received);
}

std::vector<Reply6> Relay6Bench::sent() {
  std::vector<Reply6> replies;
  for (const fake::Sent& sent : device().take_sent()) {
    replies.emplace_back(sent.bytes);
    EXPECT_EQ(replies.back().faults, "");
    EXPECT_EQ(sent.mode, 2);
    EXPECT_EQ(sent.ports.size(), 1u);
    EXPECT_EQ(sent.vlan, replies.back().vlan);
  }
  return replies;
}

Message6 Relay6Bench::reply(const wire::Ip6& peer, const Bytes& options, int hops) {
  return Message6::relayed(wire::RELAY_REPL6, server_mac, hops, ip6("2001:db8:20::1"), peer, options)
      .vlan(20)
      .from_ip(ip6("2001:db8:20::5"))
      .to(own_mac, ip6("2001:db8:20::1"));
}

uint32_t Relay6Bench::met(Dhcp6RelayVerdict verdict) {
  Dhcp6RelayCounters counters{};
  dhcp6_relay_get_counters(&counters);
  return counters.verdicts[verdict];
}

}  // namespace bench
