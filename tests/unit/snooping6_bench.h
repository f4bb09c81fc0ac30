/// DHCPv6 snooping, switched on.
#pragma once

#include "snooping6/snooping6.h"
#include "tests/unit/binding_bench.h"
#include "tests/unit/wire6.h"

namespace bench {

class Snooping6Bench : public BindingBench {
 protected:
  static inline const wire::Ip6 address = wire::ip6("2001:db8::10"), server_ip = wire::ip6("fe80::1");

  void SetUp() override;
  /// Both indexes are whole, and nothing outlives the service.
  void TearDown() override;

  static Fate receive(const wire::Message6& message, uint32_t in_port) {
    return pass(dhcp6_packet_snooping_process, dhcp::snooping6::frame_counts.view(), message, in_port);
  }
  /// A server's message to a client, with an IA_NA that leases `leased` unless other options are said.
  static wire::Message6 from_server(int type, const Mac& to, const Bytes& options);
  static wire::Message6 reply(const Mac& to, const wire::Ip6& leased = address, uint32_t valid_s = 600) {
    return from_server(wire::REPLY6, to, wire::ia_na(1, wire::ia_address(leased, valid_s, valid_s)));
  }
  /// SOLICIT on the port and the server's REPLY on the uplink: a bound entry.
  static MacBind6Struct& bind(const Mac& mac, const wire::Ip6& leased = address, uint32_t in_port = port,
                              uint16_t vlan = 10, uint32_t valid_s = 600);
  static MacBind6Struct* find(const Mac& mac) { return find_MacBind6Struct(mac.data(), 0); }
  static MacBind6Struct* holder(int vlan, const wire::Ip6& ip) { return find_VlanIp6_entry(vlan, ip.data()); }
  /// How often a frame of the type on the interface has met this fate; 0 = all that came from no listed interface.
  static uint32_t met(DhcpSnoopVerdict verdict, uint32_t intf, int type);
  static void expect_whole();
};

}  // namespace bench
