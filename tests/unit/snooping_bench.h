/// IPv4 snooping, switched on.
#pragma once

#include "snooping/counters.h"
#include "tests/unit/binding_bench.h"

namespace bench {

class SnoopingBench : public BindingBench {
 protected:
  static constexpr uint32_t server_ip = ip(192, 168, 1, 1), address = ip(192, 168, 1, 10);

  void SetUp() override;
  /// Both indexes are whole, and nothing outlives the service.
  void TearDown() override;

  static Fate receive(const wire::Message& message, uint32_t in_port, size_t room = 0) {
    return pass(dhcp_packet_snooping_process, dhcp::snooping::frame_counts.view(), message, in_port, room);
  }
  /// A server's message, with broadcast destination unless said.
  static wire::Message from_server(int type, const Mac& to, uint32_t yiaddr = address);
  static wire::Message ack(const Mac& to, uint32_t yiaddr = address, uint32_t lease_s = 600) {
    return from_server(wire::ACK, to, yiaddr).ip_option(51, lease_s);
  }
  /// DISCOVER on the port and the server's ACK on the uplink: a bound entry.
  static MacBindStruct& bind(const Mac& mac, uint32_t yiaddr = address, uint32_t in_port = port, uint16_t vlan = 10,
                             uint32_t lease_s = 600);
  static MacBindStruct* find(const Mac& mac) { return find_MacBindStruct(mac.data(), 0); }
  static SnoopIntfEntry& entry_of(uint32_t intf);
  /// How often a frame of the type on the interface has met this fate; 0 = all that came from no listed interface.
  static uint32_t met(DhcpSnoopVerdict verdict, uint32_t intf, int type);
  /// Every list forwards and backwards, its count, its bucket, and every busy word at rest.
  static void expect_whole();
};

}  // namespace bench
