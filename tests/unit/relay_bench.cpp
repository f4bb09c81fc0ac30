#include "tests/unit/relay_bench.h"

#include "relay/relay.h"

namespace bench {

void RelayBench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  device().vlan_interfaces[10] = {.ip = client_gateway, .mac = own_mac, .mask = 0xffffff00};
  device().vlan_interfaces[20] = {.ip = relay_ip, .mac = own_mac, .mask = 0xffffff00};
  device().arp_hosts[server_ip] = server_mac;
  device().mac_table[{server_mac, 20}] = uplink;
  device().mac_table[{other_mac, 20}] = uplink;
  device().mac_table[{client, 10}] = port;
  dhcpr_cfg.send_buf = new uint8_t[DHCPR_BUFFER_SIZE];
  init_DHCPR_cfg();
  dhcp_relay_clear_counters();
}

void RelayBench::TearDown() {
  DHCPR_stop();
  DHCPR_set_trust(1);
  DHCPR_set_dhcp_option82_switch(1);
  DHCPR_set_route_port(24);
  DHCPR_set_route_vlan(0, 0);
  init_DHCPR_cfg();  // the helpers stay when the relay ends
  exit_DHCPR_cfg();
  EXPECT_EQ(dhcpr_cfg.server_count, 0);
  EXPECT_EQ(dhcpr_cfg.info_count, 0);
  EXPECT_EQ(dhcpr_cfg.server_busy.load() + dhcpr_cfg.port_users.load(), 0u);
  delete[] std::exchange(dhcpr_cfg.send_buf, nullptr);
}

void RelayBench::start_routing() {
  ASSERT_EQ(DHCPR_start(2), 0);
  ASSERT_EQ(DHCPR_set_dhcp_serverip(1, server_ip), 0);
}

int RelayBench::receive(const wire::Message& message, uint32_t in_port) {
  wire::Received frame(message.frame(), in_port, 1600);
  return counted_once(dhcp::relay::frame_counts.view(), in_port, [&] { return dhcpr_packet_process(frame.skp()); });
}

wire::Message RelayBench::from_server(int type, uint32_t identifier) {
  return wire::Message(type, client)
      .at(0, {2})
      .at(16, wire::be32(ip(10, 10, 0, 77)))
      .ip_option(54, identifier)
      .vlan(20)
      .from(server_mac)
      .from_ip(identifier)
      .unicast_to(own_mac, relay_ip);
}

uint32_t RelayBench::met(DhcpRelayVerdict verdict) {
  DhcpRelayCounters counters;
  dhcp_relay_get_counters(&counters);
  return counters.verdicts[verdict];
}

DhcpRelayHelper RelayBench::helper(uint32_t address) {
  DhcpRelayHelper all[DHCPR_MAX_HELPERS];
  const size_t count = dhcp_relay_get_helpers(all, DHCPR_MAX_HELPERS);
  const auto* found = std::find_if(all, all + count, [address](const auto& h) { return h.ip == address; });
  EXPECT_NE(found, all + count) << "not listed";
  return found == all + count ? DhcpRelayHelper{} : *found;
}

Bytes RelayBench::own_option82(uint8_t in_port) {
  Bytes option{82, 18, 1, 6, 0, 4, 0, 10, 0, in_port, 2, 8, 0, 6};
  option.insert(option.end(), own_mac.begin(), own_mac.end());
  return option;
}

Bytes with(Bytes frame, size_t offset, const Bytes& bytes) {
  std::copy(bytes.begin(), bytes.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
  return frame;
}

Bytes sealed(Bytes frame) {
  uint32_t sum = 0;
  for (size_t i = 18; i < 38; i += 2) sum += i == 28 ? 0 : wire::number_at(frame, i, 2);
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  return with(frame, 28, {static_cast<uint8_t>(~sum >> 8), static_cast<uint8_t>(~sum)});
}

}  // namespace bench
